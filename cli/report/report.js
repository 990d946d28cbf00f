// Sorts and filters the list. Without this script the page shows the same, in the order of the check.
"use strict";
(() => {
  const list = document.querySelector(".list");
  const rows = [...list.tBodies];
  const tools = document.getElementById("tools");
  const text = document.getElementById("text");
  const status = document.getElementById("status");
  const shown = document.getElementById("shown");
  const none = document.getElementById("none");
  const collator = new Intl.Collator("en", { numeric: true });
  const isShown = (row) => !row.hidden;

  // What a column sorts by: a number in the markup, an exact time, or the text. Empty cells come last.
  const keyOf = (row, column) => {
    const cell = row.rows[0].cells[column];
    const time = cell.querySelector("time");
    return cell.dataset.key ?? (time ? time.dateTime : cell.textContent);
  };

  const sort = (header) => {
    const isDescending = header.ariaSort === "ascending";
    for (const other of header.parentNode.cells) {
      other.ariaSort = "none";
    }
    header.ariaSort = isDescending ? "descending" : "ascending";
    const sign = isDescending ? -1 : 1;
    const keyed = rows.map((row) => [keyOf(row, header.cellIndex), row]);
    keyed.sort(([a], [b]) => (a === "") - (b === "") || sign * collator.compare(a, b));
    list.append(...keyed.map(([, row]) => row));
  };

  for (const header of list.tHead.rows[0].cells) {
    const button = document.createElement("button");
    button.type = "button";
    button.append(...header.childNodes);
    button.addEventListener("click", () => sort(header));
    header.append(button);
    header.ariaSort = header.cellIndex === 0 ? "ascending" : "none";
  }

  // The texts of the rows, read when they are needed first.
  let haystacks = null;
  const haystackOf = (row) => {
    const cells = [...row.rows[0].cells].map((cell) => cell.textContent);
    const details = row.rows[1];
    cells.push(details.querySelector("summary").textContent, details.querySelector(".serial").textContent);
    return cells.join("\n").toLowerCase();
  };

  const filter = () => {
    const words = text.value.toLowerCase().split(/\s+/).filter(Boolean);
    if (words.length > 0 && haystacks === null) {
      haystacks = rows.map(haystackOf);
    }
    let count = 0;
    let hiddenFailures = 0;
    rows.forEach((row, at) => {
      const wanted = status.value;
      const hasStatus = wanted === "" || (wanted === "-good" ? row.className !== "good" : row.className === wanted);
      row.hidden = !hasStatus || !words.every((word) => haystacks[at].includes(word));
      count += row.hidden ? 0 : 1;
      hiddenFailures += row.hidden && row.className !== "good" ? 1 : 0;
    });
    const warning = hiddenFailures === 0 ? "" : `; ${hiddenFailures} that are not good hidden`;
    shown.value = `${count} of ${rows.length} shown${warning}`;
    none.hidden = count !== 0 || rows.length === 0;
  };

  let waiting = 0;
  text.addEventListener("input", () => {
    clearTimeout(waiting);
    waiting = setTimeout(filter, rows.length > 500 ? 150 : 0);
  });
  status.addEventListener("input", filter);
  tools.addEventListener("submit", (event) => {
    event.preventDefault();
    filter();
  });

  const setOpen = (isOpen) => {
    for (const row of rows.filter(isShown)) {
      row.rows[1].querySelector("details").open = isOpen;
    }
  };
  document.getElementById("open").addEventListener("click", () => setOpen(true));
  document.getElementById("close").addEventListener("click", () => setOpen(false));

  // Details are printed although they are closed, and closed again afterwards.
  let opened = [];
  addEventListener("beforeprint", () => {
    opened = [...list.querySelectorAll("tbody:not([hidden]) details:not([open])")];
    opened.forEach((details) => (details.open = true));
  });
  addEventListener("afterprint", () => opened.forEach((details) => (details.open = false)));

  tools.hidden = false;
  filter();
  // A browser that comes back to this page may restore the filter's values after that, without an event.
  addEventListener("pageshow", filter);
})();
