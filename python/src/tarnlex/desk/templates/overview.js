"use strict";
// Pictures take the colours and the width of the page; tables are sorted by a click on a heading.
(function () {
  const figures = JSON.parse(document.getElementById("figures").textContent);
  const PAPER = 680;  // the width of a sheet between its margins, in pixels
  const narrow = window.matchMedia("(max-width: 600px)");
  const dark = window.matchMedia("(prefers-color-scheme: dark)");

  let paper = false;

  function colours() {
    if (paper) { return { text: "#000000", line: "#bbbbbb" }; }
    const style = getComputedStyle(document.documentElement);
    return { text: style.getPropertyValue("--text").trim(), line: style.getPropertyValue("--line").trim() };
  }

  function layoutOf(figure) {
    const { text, line } = colours();
    const layout = JSON.parse(JSON.stringify(figure.layout));
    const axis = { gridcolor: line, linecolor: line, zerolinecolor: line, tickfont: { color: text } };
    layout.font = { color: text, size: narrow.matches ? 11 : 12, family: getComputedStyle(document.body).fontFamily };
    layout.xaxis = Object.assign({}, layout.xaxis, axis);
    layout.yaxis = Object.assign({}, layout.yaxis, axis, { showgrid: false, zeroline: false });
    layout.hoverlabel = { font: { family: layout.font.family } };
    if (narrow.matches) {
      layout.xaxis.nticks = 3;
      if (layout.meta && layout.meta.short) { layout.yaxis.ticktext = layout.meta.short; }
    }
    if (paper) { Object.assign(layout, { width: PAPER }).xaxis.nticks = 5; }
    return layout;
  }

  function draw() {
    for (const [key, figure] of Object.entries(figures)) {
      const place = document.getElementById("picture-" + key);
      Plotly.react(place, figure.data, layoutOf(figure),
        { responsive: !paper, displayModeBar: false });
    }
  }

  function valueOf(row, index) { return row.cells[index].textContent; }

  function sort(heading) {
    const table = heading.closest("table");
    const index = heading.cellIndex;
    const number = heading.classList.contains("number");
    const descending = heading.getAttribute("aria-sort") === "ascending";
    for (const other of table.tHead.rows[0].cells) { other.removeAttribute("aria-sort"); }
    heading.setAttribute("aria-sort", descending ? "descending" : "ascending");
    const rows = Array.from(table.tBodies[0].rows);
    const compare = number
      ? (a, b) => (parseFloat(valueOf(a, index)) || 0) - (parseFloat(valueOf(b, index)) || 0)
      : (a, b) => valueOf(a, index).localeCompare(valueOf(b, index), "en", { numeric: true });
    rows.sort((a, b) => descending ? compare(b, a) : compare(a, b));
    table.tBodies[0].append(...rows);
  }

  for (const heading of document.querySelectorAll("th")) {
    heading.querySelector("button").addEventListener("click", () => sort(heading));
  }
  draw();
  dark.addEventListener("change", draw);
  narrow.addEventListener("change", draw);
  // What is folded when a page is printed stays folded.
  window.addEventListener("beforeprint", () => { paper = true; draw(); });
  window.addEventListener("afterprint", () => { paper = false; draw(); });
})();
