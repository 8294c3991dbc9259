// The working set over the passes of a solve: a line of bars for each constraint.

// Label and side of each kind of member.
const Kinds = {
  equalities: ["row_names", "="], rows_at_lower: ["row_names", "≥"], rows_at_upper: ["row_names", "≤"],
  fixed: ["names", "="], at_lower: ["names", "≥"], at_upper: ["names", "≤"],
};
// For each constraint that was ever a member: its name, and the first pass with it and the next one without.
function stays(r) {
  const found = new Map();
  r.passes.forEach((pass, at) => {
    for (const [kind, members] of Object.entries(pass.leaving)) {
      for (const k of members) found.get(`${kind} ${k}`).runs.at(-1).to = at;
    }
    for (const [kind, members] of Object.entries(pass.entering)) {
      for (const k of members) {
        const key = `${kind} ${k}`, [names, sign] = Kinds[kind];
        if (!found.has(key)) found.set(key, { name: `${r[names][k]} ${sign}`, isLow: sign === "≥", runs: [] });
        found.get(key).runs.push({ from: at, to: null });
      }
    }
  });
  return [...found.values()];
}
function pictureOf(r) {
  const most = 60, count = r.passes.length, all = stays(r);
  if (!all.length) return;
  // The constraints that change most often are shown, in the order of their first entry.
  const changes = (one) => one.runs.length * 2 - (one.runs.at(-1).to === null ? 1 : 0);
  const shownOnes = [...all].sort((p, q) => changes(q) - changes(p)).slice(0, most)
    .sort((p, q) => p.runs[0].from - q.runs[0].from);
  const width = 900, left = 150, top = 6, line = 15, height = top + line * shownOnes.length + 26;
  const figure = make("figure");
  make("figcaption", "Working set: ▸ enters, × leaves; the colour tells lower sides from the others.", null, figure);
  const scrolled = make("div", null, "scroll", figure);
  scrolled.tabIndex = 0; // so that keys scroll it, too
  const svg = draw(scrolled, "svg", { class: "wide", viewBox: `0 0 ${width} ${height}`, role: "img", id: "working-set",
    "aria-label": "Which constraints are in the working set after each pass" });
  const x = (pass) => left + pass * (width - left - 4) / count;
  shownOnes.forEach((one, k) => {
    const y = top + k * line;
    const name = one.name.length > 22 ? `${one.name.slice(0, 18)}… ${one.name.at(-1)}` : one.name;
    draw(draw(svg, "text", { x: left - 6, y: y + 11, "text-anchor": "end" }, name), "title", {}, one.name);
    for (const { from, to } of one.runs) {
      const end = to === null ? count : to;
      const bar = draw(svg, "rect", { class: one.isLow ? "stay low" : "stay", x: x(from), y: y + 3,
        width: Math.max(1, x(end) - x(from)), height: line - 5 });
      draw(bar, "title", {}, `${one.name}: ${end - from > 1 ? `passes ${from + 1} to ${end}` : `pass ${end}`}`);
      draw(svg, "path", { class: "enter", d: `M${x(from)} ${y + 3}l5 5l-5 5z` });
      if (to !== null) draw(svg, "path", { class: "leave", d: `M${x(end) - 3} ${y + 5}l6 6m0 -6l-6 6` });
    }
  });
  const bottom = height - 22;
  draw(svg, "line", { class: "axis", x1: left, y1: bottom, x2: width, y2: bottom });
  const feasible = r.passes.findIndex((pass) => !pass.phase_one);
  if (feasible > 0) {
    draw(svg, "line", { class: "phase", x1: x(feasible), y1: 0, x2: x(feasible), y2: bottom });
    draw(svg, "text", { x: x(feasible), y: height - 8, "text-anchor": "middle" }, "feasible");
  }
  draw(svg, "text", { x: left, y: height - 8 }, "1");
  draw(svg, "text", { x: width - 2, y: height - 8, "text-anchor": "end" }, `pass ${count}`);
  if (all.length > most) make("p", `The ${most} of ${all.length} constraints that come and go most.`, "soft");
}
