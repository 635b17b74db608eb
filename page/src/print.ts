// On paper stands the whole table, not the part of it that the screen shows.

import { captionOf, type Grid } from "./answer.ts";
import { fill, h } from "./dom.ts";

export function printable(place: HTMLElement, title: string, grid: Grid | null): void {
  if (grid === null) {
    fill(place);
    return;
  }
  const corner = grid.rows[0]?.length ?? 0;
  const heads = (grid.columns[0] ?? []).map((_, at) =>
    h(
      "tr",
      {},
      ...Array.from({ length: corner }, () => h("td")),
      ...grid.columns.map((tuple) => h("th", { scope: "col" }, tuple[at] ? captionOf(tuple[at]) : "")),
    ),
  );
  const lines = grid.rows.map((tuple, row) =>
    h(
      "tr",
      {},
      ...tuple.map((member) => h("th", { scope: "row" }, captionOf(member))),
      ...grid.columns.map((_, column) => h("td", {}, grid.cell(row, column)?.formatted ?? "")),
    ),
  );
  fill(place, h("h1", {}, title), h("table", {}, h("thead", {}, ...heads), h("tbody", {}, ...lines)));
}
