# The tool's JSON on standard input, printed as the programs beside this file do.
import json
import sys
r = json.load(sys.stdin)
x = r["x"]
print(f"{x[0]:.17g} {x[1]:.17g} {r['objective']:.17g}")
