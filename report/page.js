// Draws the results that the page contains. All text is set through textContent.
const results = JSON.parse(document.getElementById("data").textContent);
const page = document.getElementById("page");
const SVG = "http://www.w3.org/2000/svg";

function make(tag, text, className, parent = page) {
  const node = document.createElement(tag);
  if (text !== undefined && text !== null) node.textContent = text;
  if (className) node.className = className;
  parent.append(node);
  return node;
}
function draw(parent, tag, attributes, text) {
  const node = document.createElementNS(SVG, tag);
  for (const [name, value] of Object.entries(attributes)) node.setAttribute(name, value);
  if (text !== undefined) node.textContent = text;
  parent.append(node);
  return node;
}
function shown(value) {
  if (typeof value !== "number") return value === null || value === undefined ? "" : String(value);
  const size = Math.abs(value);
  if (size !== 0 && size < 1e-3) return value.toExponential(2);
  if (size >= 1e9) return Number(value.toPrecision(6)).toExponential();
  return String(Number(value.toPrecision(6)) + 0);
}
function counted(count, word) { return `${count} ${word}${count === 1 ? "" : "s"}`; }
function outcomeOf(result) { return result.error ? "error" : result.outcome; }
function classOf(outcome) {
  return outcome === "optimal" ? "good" : outcome === "infeasible" || outcome === "error" ? "bad" : "warn";
}
function stepsOf(r) {
  return ["iterations", "phase_one_iterations", "prediction_rounds", "dual_steps"]
    .reduce((sum, key) => sum + (r[key] || 0), 0);
}

// Columns are [title, whether numeric]; a row is a list of values.
function table(columns, rows, label) {
  const box = make("div", null, "scroll");
  box.tabIndex = 0; // so that keys scroll it, too
  const whole = make("table", null, null, box);
  whole.setAttribute("aria-label", label);
  const head = make("tr", null, null, make("thead", null, null, whole));
  const body = make("tbody", null, null, whole);
  const fill = () => {
    body.replaceChildren();
    for (const row of rows) {
      const line = make("tr", null, null, body);
      row.forEach((value, k) => {
        const isFile = columns[k][0] === "file";
        const cell = make("td", isFile ? value.split("/").pop() : shown(value), columns[k][1] ? "number" : null, line);
        if (isFile) cell.title = value;
      });
    }
  };
  columns.forEach(([title, isNumber], k) => {
    const cell = make("th", null, isNumber ? "number" : null, head);
    cell.scope = "col";
    make("button", title, null, cell).addEventListener("click", () => {
      const up = cell.getAttribute("aria-sort") !== "ascending";
      for (const other of head.children) other.removeAttribute("aria-sort");
      cell.setAttribute("aria-sort", up ? "ascending" : "descending");
      const key = (row) => (row[k] === null || row[k] === undefined ? -Infinity : row[k]);
      rows.sort((p, q) => (key(p) < key(q) ? -1 : key(p) > key(q) ? 1 : 0) * (up ? 1 : -1));
      fill();
    });
  });
  fill();
}
function facts(pairs) {
  const list = make("dl", null, "facts");
  for (const [name, value] of pairs) {
    if (value === null || value === undefined || value === "") continue;
    const box = make("div", null, null, list);
    make("dt", name, null, box);
    make("dd", shown(value), null, box);
  }
}

function bars(entries, label) { // [name, size, text, at a lower side]
  const body = make("tbody", null, null, make("table", null, "bars", make("div", null, "scroll")));
  body.parentNode.setAttribute("aria-label", label);
  const most = largest(entries.map((entry) => entry[1]));
  for (const [name, size, text, isLow] of entries) {
    const row = make("tr", null, null, body);
    make("td", name, null, row);
    const cell = make("td", null, null, row);
    make("span", null, isLow ? "track low" : "track", cell).style.width = `${(100 * size / most).toFixed(2)}%`;
    make("span", text, "soft", cell);
  }
}

const Proofs = {
  optimal: "Proved: the residuals of the point and its multipliers, formed from the data, are within the tolerance.",
  infeasible: "Proved by multipliers with which the constraints add up to a contradiction.",
  unbounded: "Proved by a direction in which the objective improves and no side is reached.",
  "not convex": "Proved by a direction of negative curvature.",
};
function proofOfShifted(shift) {
  return `Proved for H + δI with δ = ${shown(shift)}, since H is not quite convex: the residuals of the point and its multipliers, formed from the data with this shift, are within the tolerance.`;
}
function multipliers(r) {
  const verb = r.sense === "max" ? "gains" : "saves";
  const entries = [];
  const add = (values, names, what) => values.forEach((value, k) => {
    if (!value) return;
    const where = value > 0 ? "" : what === "row" ? " downwards" : " (lower bound)";
    const side = what === "row" ? names[k] : `the bound of ${names[k]}`;
    entries.push([names[k], Math.abs(value), `${shown(value)}: relaxing ${side} by 1${where} ${verb} ${shown(Math.abs(value))}`, value < 0]);
  });
  add(r.y, r.row_names, "row");
  add(r.z, r.names, "bound");
  entries.sort((p, q) => q[1] - p[1]);
  if (!entries.length) return;
  make("h2", "What the objective pays for");
  make("p", "The largest multipliers, to first order; the colour tells upper from lower sides.", "soft");
  bars(entries.slice(0, 15), "multipliers");
}
function passes(r) {
  if (!r.passes || !r.passes.length) return;
  make("h2", "Pass by pass");
  const box = make("div", null, "plots");
  lines(box, "Objective", r.passes.map((pass) => pass.objective), "plain");
  lines(box, "Violation (logarithmic)", r.passes.map((pass) => pass.violation), "log");
  lines(box, "Constraints in the working set", r.passes.map((pass) => pass.active), "count");
  if (r.passes[0].entering) pictureOf(r);
}
function bounds(r) {
  const set = r.working_set || {};
  const rows = [["at_lower", "lower"], ["at_upper", "upper"], ["fixed", "fixed"]].flatMap(([key, word]) =>
    (set[key] || []).map((j) => [r.names[j], word, r.x[j], r.z[j]]));
  if (!rows.length) return;
  make("h2", "Variables at bounds");
  table([["variable", false], ["bound", false], ["value", true], ["multiplier", true]], rows, "bounds");
}
function violated(r) {
  const sides = r.soft_violated;
  if (!sides) return;
  const kinds = [["rows_at_lower", "row_names", "≥", "y"], ["rows_at_upper", "row_names", "≤", "y"],
    ["at_lower", "names", "≥", "z"], ["at_upper", "names", "≤", "z"]];
  const rows = kinds.flatMap(([key, names, sign, multipliers]) =>
    (sides[key] || []).map((k) => [`${r[names][k]} ${sign}`, null, null, r[multipliers][k]]));
  rows.forEach((row, k) => {
    if (sides.words) [row[0], row[1], row[2]] = [sides.words[k], sides.violation[k], sides.cost[k]];
  });
  make("h2", "Soft sides that give way");
  const columns = [["side", false], ["by", true], ["costs", true], ["multiplier", true]];
  const isTold = (column) => column === 0 || rows.some((row) => row[column] !== null);
  table(columns.filter((_, k) => isTold(k)), rows.map((row) => row.filter((_, k) => isTold(k))), "violated");
}
function single(r) {
  document.title = `${r.file}: ${outcomeOf(r)}`;
  make("h1", r.name ? `${r.file} (${r.name})` : r.file);
  make("p", outcomeOf(r), `outcome ${classOf(outcomeOf(r))}`).id = "outcome";
  if (r.error) { make("p", r.error); return; }
  if (r.proved) make("p", r.outcome === "optimal" && r.hessian_shift > 0 ? proofOfShifted(r.hessian_shift) : Proofs[r.outcome]);
  if (r.message) make("p", r.message);
  make("p", `${r.sense === "max" ? "Maximise" : "Minimise"} over ${counted(r.variables, "variable")} and ${counted(r.rows, "row")}.`, "soft");
  facts([["objective", r.objective], ["steps", stepsOf(r)], ["seconds", r.seconds],
    ["relative primal residual", r.relative_primal_residual], ["relative dual residual", r.relative_dual_residual],
    ["relative duality gap", r.relative_duality_gap], ["shift of the Hessian", r.hessian_shift || null]]);
  if (r.conflict) {
    make("h2", "What contradicts what");
    make("p", r.conflict.minimal ? "Without any one of these, the others have a common point." : "Together these have no common point.");
    table([["constraint", false]], r.conflict.words.map((word) => [word]), "conflict");
  }
  if (r.direction) {
    make("h2", "Direction");
    table([["variable", false], ["entry", true]], r.direction.entries.map((d, j) => [r.names[j], d]).filter((row) => row[1]), "direction");
  }
  passes(r);
  if (!r.x) return;
  violated(r);
  multipliers(r);
  bounds(r);
  make("h2", "Solution");
  const most = 500;
  table([["variable", false], ["value", true], ["multiplier", true]], r.names.slice(0, most).map((name, j) => [name, r.x[j], r.z[j]]), "solution");
  if (r.names.length > most) make("p", `The first ${most} of ${r.names.length} variables.`, "soft");
}
function whyOf(r) {
  return r.error || (r.conflict && r.conflict.words ? r.conflict.words.join("; ") : r.message) || "";
}
function batch(all) {
  document.title = `${all.length} problems`;
  make("h1", `${all.length} problems`);
  const counts = new Map();
  for (const r of all) counts.set(outcomeOf(r), (counts.get(outcomeOf(r)) || 0) + 1);
  bars([...counts].sort((p, q) => q[1] - p[1]).map(([word, count]) => [word, count, String(count), word !== "optimal"]), "outcomes");
  const done = all.filter((r) => !r.error);
  if (done.length) {
    const box = make("div", null, "plots");
    histogram(box, "Seconds (logarithmic)", done.map((r) => r.seconds), "s");
    histogram(box, "Steps (logarithmic)", done.map((r) => Math.max(1, stepsOf(r))), "steps");
  }
  const row = (r) => [r.file, outcomeOf(r), r.objective, r.error ? null : stepsOf(r), r.seconds];
  const columns = [["file", false], ["outcome", false], ["objective", true], ["steps", true], ["seconds", true]];
  const failed = all.filter((r) => outcomeOf(r) !== "optimal");
  if (failed.length) {
    make("h2", "Not solved");
    const told = [["file", false], ["outcome", false], ["why", false], ["steps", true], ["seconds", true]];
    table(told, failed.map((r) => [r.file, outcomeOf(r), whyOf(r), ...row(r).slice(3)]), "failed");
  }
  make("h2", "Slowest");
  table(columns, [...done].sort((p, q) => q.seconds - p.seconds).slice(0, 10).map(row), "slowest");
  make("h2", "All");
  table(columns, all.map(row), "all");
}
if (results.length === 1) single(results[0]); else batch(results);
