// The rows behind a cell.

import { captionsOf, csv, type Grid } from "./answer.ts";
import { byId, fill, h, save } from "./dom.ts";
import { buildDrillMdx } from "./mdx.ts";
import type { Structure } from "./metadata.ts";
import type { Question } from "./question.ts";
import type { Row, XmlaClient } from "./xmla.ts";

export const MOST_ROWS = 1000;

export async function showRowsBehind(
  client: XmlaClient,
  structure: Structure,
  question: Question,
  grid: Grid,
  row: number,
  column: number,
): Promise<void> {
  const members = [...(grid.rows[row] ?? []), ...(grid.columns[column] ?? [])];
  const dialog = byId<HTMLDialogElement>("dialog");
  const content = h("div", { class: "rows", tabindex: 0, role: "group", "aria-label": "Rows" });
  const status = h("p", { class: "note", role: "status" }, "Asking…");
  const keep = h("button", { type: "button", disabled: true }, "CSV");
  fill(
    dialog,
    h("h2", { id: "dialog-title" }, "Rows behind the cell"),
    h("p", {}, captionsOf(members), " = ", h("b", {}, grid.cell(row, column)?.formatted ?? "")),
    content,
    status,
    h(
      "div",
      { class: "buttons" },
      keep,
      h("button", { type: "button", class: "primary", onclick: () => dialog.close() }, "Close"),
    ),
  );
  dialog.showModal();
  const mdx = buildDrillMdx(
    question,
    structure,
    members.map((member) => member.name),
    MOST_ROWS,
  );
  if (mdx === null) {
    status.textContent = "The sum of the top members has no rows of its own. Ask for the rows of one of them.";
    return;
  }
  try {
    const rows = await client.drillThrough(question.database, mdx);
    const names = telling(rows);
    content.append(tableOf(names, rows));
    const most = rows.length === MOST_ROWS ? "; there may be more" : "";
    status.textContent = `${rows.length.toLocaleString("en")} ${rows.length === 1 ? "row" : "rows"}${most}`;
    keep.disabled = rows.length === 0;
    keep.onclick = () =>
      save("rows.csv", "text/csv", csv([names, ...rows.map((one) => names.map((name) => one[name] ?? ""))]));
  } catch (error) {
    status.textContent = error instanceof Error ? error.message : String(error);
  }
}

/**
 * The figure first, which comes last, then the levels: without keys beside names, and without a second
 * column of the same level.
 */
function telling(rows: Row[]): string[] {
  const names = [...new Set(rows.flatMap((one) => Object.keys(one)))];
  const kept = names.filter((name) => {
    const first = name.replace(/( \(Key\))?(_\d+)?$/, "");
    const isSame = name.endsWith(" (Key)") || rows.every((row) => row[first] === row[name]);
    return first === name || !names.includes(first) || !isSame;
  });
  return [...kept.slice(-1), ...kept.slice(0, -1)];
}

function tableOf(names: string[], rows: Row[]): HTMLElement {
  const numeric = new Set(names.filter((name) => rows.every((row) => /^-?[\d.]*(E-?\d+)?$/.test(row[name] ?? ""))));
  const kind = (name: string) => ({ class: numeric.has(name) ? "number" : null });
  const heading = h("tr", {}, ...names.map((name) => h("th", { scope: "col", ...kind(name) }, name)));
  const body = rows.map((row) => h("tr", {}, ...names.map((name) => h("td", kind(name), row[name] ?? ""))));
  return h("table", {}, h("thead", {}, heading), h("tbody", {}, ...body));
}
