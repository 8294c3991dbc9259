#!/usr/bin/python3
"""Checks reports in a browser: no errors, marks in the plots, the numbers of the results.

usage: report_test.py TOOL FOLDER     FOLDER has problem files. Exits with 77 without a browser or selenium.
"""

import json
import math
import pathlib
import shutil
import subprocess
import sys
import tempfile

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
except ImportError:
    sys.exit(77)

# The number of pixels in each plot that have the colour of marks, after an event changed colours.
MARKS = """
const done = arguments[1];
if (arguments[0]) dispatchEvent(new Event(arguments[0]));
setTimeout(() => {
  const probe = document.createElement("canvas").getContext("2d");
  probe.fillStyle = getComputedStyle(document.documentElement).getPropertyValue("--mark");
  probe.fillRect(0, 0, 1, 1);
  const mark = probe.getImageData(0, 0, 1, 1).data;
  done([...document.querySelectorAll(".chart canvas")].map((canvas) => {
    const { data } = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
    let count = 0;
    for (let k = 0; k < data.length; k += 4) {
      if (data[k + 3] === 255 && [0, 1, 2].every((c) => Math.abs(data[k + c] - mark[c]) < 3)) count += 1;
    }
    return count;
  }));
}, 100);"""
# Whether the page is at most as wide as the window. Plots adapt to a new width some frames later.
FITS = """
const done = arguments[0], end = performance.now() + 5000;
const look = () => {
  const fits = document.documentElement.scrollWidth <= innerWidth;
  if (fits || performance.now() > end) done(fits);
  else setTimeout(look, 20);
};
requestAnimationFrame(() => requestAnimationFrame(look));"""
NONE = "min x\nst\n capacity: x + y <= 4\nbounds\n x >= 3\n y >= 2\nend\n"


def browser():
    options = webdriver.ChromeOptions()
    for word in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"):
        options.add_argument(word)
    options.binary_location = shutil.which("chromium")
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)


class Reports:
    def __init__(self, tool, folder, driver):
        self.tool, self.folder, self.driver = tool, folder, driver

    def show(self, *arguments):
        """Solves, opens the report, and returns the results."""
        results = self.folder / "result.json"
        subprocess.run([self.tool, "solve", *map(str, arguments), "-o", results],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        page = self.folder / "page.html"
        subprocess.run([self.tool, "report", results, "-o", page], check=True)
        self.driver.get(page.as_uri())
        errors = [entry for entry in self.driver.get_log("browser")
                  if "willReadFrequently" not in entry["message"]]  # about MARKS
        assert not errors, errors
        text = page.read_text(encoding="utf-8")
        named = ("http://www.w3.org", "https://github.com/leeoniya/uPlot")  # names that are never requested
        for address in named:
            text = text.replace(address, "")
        assert "http" not in text, "the page asks the network"
        return json.loads(results.read_text(encoding="utf-8"))

    def texts(self, selector):
        return [node.text for node in self.driver.find_elements(By.CSS_SELECTOR, selector)]

    def fits(self, width):
        self.driver.execute_cdp_cmd(
            "Emulation.setDeviceMetricsOverride",
            {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": False})
        return self.driver.execute_async_script(FITS)


def check_single(reports, problem):
    result = reports.show(problem, "--trace")
    assert reports.texts("#outcome") == ["optimal"]
    assert float(reports.texts(".facts dd")[0]) == float(f"{result['objective']:.6g}")
    check_plots(reports, [[p["objective"] for p in result["passes"]],
                          [math.log10(max(p["violation"], 1e-16)) for p in result["passes"]],
                          [p["active"] for p in result["passes"]]])
    check_working_set(reports, result)
    sizes = [abs(v) for v in result["y"] + result["z"] if v]
    assert len(reports.texts(".bars tr")) == min(15, len(sizes))
    assert f"saves {max(sizes):.6g}".rstrip("0") in reports.texts(".bars tr")[0]
    shown = [float(text) for text in reports.texts("[aria-label=solution] td:nth-child(2)")]
    assert all(abs(a - b) <= 1e-5 * max(1, abs(b)) for a, b in zip(shown, result["x"]))
    button = reports.driver.find_element(By.CSS_SELECTOR, "[aria-label=solution] th.number button")
    button.send_keys(Keys.ENTER)
    again = [float(text) for text in reports.texts("[aria-label=solution] td:nth-child(2)")]
    assert again == sorted(shown)
    assert reports.fits(1280) and reports.fits(400)


def check_plots(reports, expected):
    """Each plot has these values and shows them in the colour of marks, also in print."""
    drawn = reports.driver.execute_script("return charts.map((plot) => [...plot.data[1]])")
    assert len(drawn) == len(expected)
    for values, those in zip(drawn, expected):
        assert len(values) == len(those) > 0
        assert all(math.isclose(a, b, rel_tol=1e-12, abs_tol=1e-12) for a, b in zip(values, those))
    for event in (None, "beforeprint", "afterprint"):
        marks = reports.driver.execute_async_script(MARKS, event)
        assert len(marks) == len(expected) and min(marks) > 100, (event, marks)


def check_working_set(reports, result):
    """The changes of all passes lead to the working set of the result; the picture shows each set."""
    members, stays, left = set(), 0, 0
    for change in result["passes"]:
        leaving, entering = ({(kind, k) for kind, ks in change[key].items() for k in ks}
                             for key in ("leaving", "entering"))
        assert leaving <= members and not entering & members
        members = (members - leaving) | entering
        stays, left = stays + len(entering), left + len(leaving)
    assert members == {(kind, k) for kind, ks in result["working_set"].items() for k in ks}
    count = {name: len(reports.driver.find_elements(By.CSS_SELECTOR, f"#working-set .{name}"))
             for name in ("stay", "enter", "leave")}
    assert count == {"stay": stays, "enter": stays, "leave": left} and left > 0, count


def check_violated(reports):
    """y <= 2 is violated: y - 3 + 0.5 = 0."""
    (reports.folder / "soft.json").write_text(json.dumps(
        {"schema": "activeset-problem/2", "H": [[1]], "c": [-3], "A": [[1]], "row_upper": [2],
         "rows": ["limit"], "variables": ["y"], "row_penalty": {"upper_linear": [0.5]}}))
    reports.show(reports.folder / "soft.json")
    assert reports.texts("[aria-label=violated] td") == ["limit: y ≤ 2", "0.5", "0.25", "0.5"]


def check_dark(reports):
    colour = "return getComputedStyle(document.body).backgroundColor"
    seen = set()
    for scheme in ("light", "dark"):
        reports.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": scheme}]})
        seen.add(reports.driver.execute_script(colour))
        assert min(reports.driver.execute_async_script(MARKS, None)) > 100, scheme
    assert len(seen) == 2, seen


def main(tool, problems):
    driver = browser()
    try:
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            reports = Reports(tool, folder, driver)
            check_single(reports, pathlib.Path(problems) / "hs118.qps")
            check_dark(reports)
            (folder / "none.lp").write_text(NONE)
            (folder / "lively.json").write_text(json.dumps(
                {"schema": "activeset-problem/1", "c": [1], "variables": ["</script><b>"],
                 "lower": [1]}))
            result = reports.show(folder / "none.lp")
            assert reports.texts("[aria-label=conflict] td") == result["conflict"]["words"]
            reports.show(folder / "lively.json")
            assert "</script><b>" in reports.texts("[aria-label=solution] td")
            batch = reports.show(problems, folder / "none.lp", folder / "absent.lp")
            assert len(reports.texts("[aria-label=all] tbody tr")) == len(batch)
            assert len(reports.texts("[aria-label=failed] tbody tr")) == 2
            why = reports.texts("[aria-label=failed] td:nth-child(3)")
            assert why[0] == "; ".join(result["conflict"]["words"]) and "cannot be opened" in why[1]
            counts = reports.driver.execute_script("return charts.map((plot) => plot.data[1])")
            assert [sum(bars) for bars in counts] == [len(batch) - 1] * 2
            assert min(reports.driver.execute_async_script(MARKS, None)) > 100
            assert reports.fits(400)
            check_violated(reports)
    finally:
        driver.quit()


if __name__ == "__main__":
    if not (shutil.which("chromium") and shutil.which("chromedriver")):
        sys.exit(77)
    main(*sys.argv[1:])
