// Lines and distributions, drawn by uPlot. Each plot also has a text that says where it begins and ends.
const Palette = () => getComputedStyle(document.documentElement);
const colour = (name) => () => Palette().getPropertyValue(name).trim();
const charts = []; // all plots of the page

// Math.min and Math.max fail for more arguments than the stack can hold.
const least = (values) => values.reduce((a, b) => Math.min(a, b), Infinity);
const largest = (values) => values.reduce((a, b) => Math.max(a, b), -Infinity);

// Logarithmic axes are linear axes of decimal logarithms.
const Whole = [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 100000, 1000000];
const powerOf = (v) => (Math.abs(v) < 3 ? shown(Number((10 ** v).toPrecision(2))) : (10 ** v).toExponential(v % 1 ? 1 : 0));
function axis(extra) {
  const line = { stroke: colour("--line"), width: 1 };
  return { stroke: colour("--soft"), font: "11px system-ui, sans-serif", grid: line, ticks: line, ...extra };
}
const across = (extra) => axis({ size: 30, ...extra });
const labels = (text) => (_, ticks) => ticks.map((v) => (v === null ? "" : text(v)));
function brief(value) { // fits beside an axis
  const text = shown(value);
  return text.length < 9 ? text : Number(value.toPrecision(3)).toExponential();
}
function chart(parent, caption, words, data, options) {
  const figure = make("figure", null, null, parent);
  make("figcaption", caption, null, figure);
  const box = make("div", null, "chart", figure);
  box.setAttribute("role", "img");
  box.setAttribute("aria-label", `${caption}: ${words}`);
  const size = () => ({ width: Math.max(200, figure.clientWidth), height: 200 });
  const plot = new uPlot({ ...size(), legend: { show: false }, cursor: { drag: { x: false, y: false } }, ...options }, data, box);
  make("p", words, "soft words", figure);
  new ResizeObserver(() => { if (size().width !== plot.width) plot.setSize(size()); }).observe(figure);
  charts.push(plot);
}
// Kinds: "plain", "log", and "count" of whole numbers.
function lines(parent, caption, values, kind) {
  const count = values.length, isLog = kind === "log", shownValue = (v) => (v === null ? "nothing" : shown(v));
  const words = count === 1 ? shownValue(values[0])
    : `${shownValue(values[0])} in pass 1, ${shownValue(values.at(-1))} in pass ${count}`;
  if (isLog && values.every((v) => v === 0)) {
    const figure = make("figure", null, null, parent);
    make("figcaption", caption, null, figure);
    make("p", "0 in every pass", "soft words", figure);
    return;
  }
  const passes = values.map((_, k) => k + 1);
  const drawn = isLog ? values.map((v) => (v === null ? null : Math.log10(Math.max(v, 1e-16)))) : values;
  chart(parent, caption, words, [passes, drawn], {
    scales: { x: { time: false, range: [0.5, count + 0.5] },
      y: isLog ? { range: (_, low, high) => [Math.floor(low - 0.5), Math.ceil(high + 0.5)] } : {} },
    axes: [across({ incrs: Whole }), axis({ size: 62, ...(kind === "plain" ? {} : { incrs: Whole }), values: labels(isLog ? powerOf : brief) })],
    series: [{}, { stroke: colour("--mark"), width: 2, points: { show: count < 60, size: 5, fill: colour("--mark") } }],
  });
}
function histogram(parent, caption, values, unit) {
  const Bins = 12, logs = values.map((v) => Math.log10(Math.max(v, 1e-6)));
  const low = least(logs), step = (largest(logs) - low || 1) / Bins;
  const counts = new Array(Bins).fill(0);
  for (const v of logs) counts[Math.min(Bins - 1, Math.floor((v - low) / step))] += 1;
  const [from, to] = [shown(least(values)), shown(largest(values))];
  const words = from === to ? `${unit}: ${to} each` : `from ${from} to ${to} ${unit}`;
  chart(parent, caption, words, [counts.map((_, k) => low + (k + 0.5) * step), counts], {
    scales: { x: { time: false, range: [low, low + Bins * step] }, y: { range: [0, Math.max(1, largest(counts)) * 1.05] } },
    axes: [across({ space: 64, values: labels(powerOf) }), axis({ size: 40, incrs: Whole })],
    series: [{}, { fill: colour("--mark"), width: 0, paths: uPlot.paths.bars({ size: [0.9] }), points: { show: false } }],
  });
}
// Colours follow the colour scheme; print is always light.
function redrawAll() { for (const plot of charts) plot.redraw(false, true); }
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", redrawAll);
for (const [event, isPaper] of [["beforeprint", true], ["afterprint", false]]) {
  addEventListener(event, () => {
    document.documentElement.classList.toggle("paper", isPaper);
    redrawAll();
  });
}
