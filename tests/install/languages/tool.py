# Reads the tool's JSON from standard input and prints it like the other programs of this folder.
import json
import sys
r = json.load(sys.stdin)
x = r["x"]
print(f"{x[0]:.17g} {x[1]:.17g} {r['objective']:.17g}")
