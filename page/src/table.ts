// The table on the screen. regular-table draws only what can be seen of it.

import "regular-table";
import type { RegularTableElement } from "regular-table";
import type { CellMetadata, DataResponse } from "regular-table/dist/esm/types";
import { captionOf, captionsOf, columnDepth, indentations, type Grid } from "./answer.ts";
import { h } from "./dom.ts";
import { isTotal } from "./mdx.ts";
import type { Member } from "./xmla.ts";

/** What the table shows besides figures, and what becomes of clicks. */
export interface TableUse {
  /** The column that orders the rows. */
  sort: { column: string[]; descending: boolean } | null;
  /** What stands above the rows' headers. */
  corner: string[];
  isExpanded(member: Member): boolean;
  expand: ((member: Member) => void) | null;
  sortBy: ((column: string[]) => void) | null;
  drill: (row: number, column: number) => void;
}

const INDENTATION = 14;
/** As the style sheet has it. */
const ROW_HEIGHT = 27;

interface Header {
  kind: "row" | "column";
  member: Member;
  tuple: Member[];
  /** Its place in the tuple. */
  at: number;
  isLast: boolean;
  /** Whether any of its neighbours can be expanded. */
  opens: boolean;
  depth: number;
}

export class PivotTable {
  private grid: Grid = { rows: [], columns: [], cell: () => undefined };
  private use: TableUse | null = null;
  private current: { row: number; column: number } | null = null;

  constructor(
    private readonly element: RegularTableElement,
    private readonly say: (text: string) => void,
  ) {
    element.setAttribute("role", "group");
    element.addStyleListener(() => this.style());
    element.addEventListener("click", (event) => this.click(event));
    element.addEventListener("keydown", (event) => this.key(event));
    element.addEventListener("blur", () => this.moveTo(null));
  }

  async show(grid: Grid, use: TableUse): Promise<void> {
    const focused = (document.activeElement as HTMLElement | null)?.dataset["key"];
    const inside = this.element.contains(document.activeElement);
    this.grid = grid;
    this.use = use;
    this.current = null;
    this.element.setAttribute("aria-label", `Answer, ${grid.rows.length} rows, ${grid.columns.length} columns`);
    const rows = this.headers(grid.rows, "row");
    const columns = this.headers(grid.columns, "column");
    this.element.setDataListener((x0, y0, x1, y1) => Promise.resolve(this.part(rows, columns, x0, y0, x1, y1)), {
      virtual_mode: "both",
    });
    this.element.scrollTo({ left: 0, top: inside ? this.element.scrollTop : 0 });
    await this.element.draw({ invalid_viewport: true });
    if (inside && focused) {
      this.element.querySelector<HTMLElement>(`[data-key="${CSS.escape(focused)}"]`)?.focus();
    }
  }

  private part(
    rows: () => HTMLElement[][],
    columns: () => HTMLElement[][],
    x0: number,
    y0: number,
    x1: number,
    y1: number,
  ): DataResponse {
    const { grid } = this;
    const data = [];
    for (let x = x0; x < Math.min(x1, grid.columns.length); ++x) {
      const column = [];
      for (let y = y0; y < Math.min(y1, grid.rows.length); ++y) {
        const cell = grid.cell(y, x);
        column.push(cell?.error === undefined ? (cell?.formatted ?? "") : "error");
      }
      data.push(column);
    }
    // It takes elements as headers, too, and says so in its documentation only.
    const headers = (list: HTMLElement[][]) => list as unknown as string[][];
    return {
      num_rows: grid.rows.length,
      num_columns: grid.columns.length,
      row_height: ROW_HEIGHT,
      data,
      row_headers: headers(rows().slice(y0, y1)),
      column_headers: headers(columns().slice(x0, x1)),
      merge_headers: "both",
    };
  }

  /** The header cells; neighbours below the same members share one. */
  private headers(tuples: Member[][], kind: "row" | "column"): () => HTMLElement[][] {
    let made: HTMLElement[][] | null = null;
    return () => {
      if (made === null) {
        const least = indentations(tuples);
        const opens = least.map((_, at) => tuples.some((tuple) => tuple[at]?.hasChildren));
        const shown = kind === "column" ? columnDepth(tuples) : (tuples[0]?.length ?? 0);
        made = [];
        for (const [index, tuple] of tuples.entries()) {
          const before = tuples[index - 1];
          let same = before !== undefined;
          made.push(
            tuple.slice(0, shown).map((member, at) => {
              same = same && before?.[at]?.name === member.name && at < shown - 1;
              const old = made?.[index - 1]?.[at];
              const header = { kind, member, tuple, at, isLast: at === shown - 1, opens: opens[at] ?? false };
              return same && old ? old : this.header({ ...header, depth: member.depth - (least[at] ?? 0) });
            }),
          );
        }
      }
      return made;
    };
  }

  private header({ kind, member, tuple, at, isLast, opens, depth }: Header): HTMLElement {
    const use = this.use;
    const caption = captionOf(member);
    const cell = h("span", { class: isTotal(member.name) ? "member total" : "member" });
    if (kind === "row" && depth > 0 && Number.isFinite(depth)) {
      cell.style.paddingInlineStart = `${depth * INDENTATION}px`;
    }
    if (use?.expand && member.hasChildren && !isTotal(member.name)) {
      const open = use.isExpanded(member);
      const label = `${open ? "Collapse" : "Expand"} ${caption}`;
      const key = `toggle ${captionsOf(tuple.slice(0, at))} ${member.name}`;
      const attributes = { "aria-expanded": String(open), "aria-label": label, "data-key": key };
      const act = () => use.expand?.(member);
      cell.append(h("button", { type: "button", class: "toggle", ...attributes, onclick: act }));
    } else if (kind === "row" && use?.expand && opens) {
      cell.append(h("span", { class: "toggle-space" }));
    }
    const sorts = kind === "column" && isLast && use?.sortBy;
    cell.append(sorts ? this.sortButton(tuple, caption) : h("span", { class: "caption", title: caption }, caption));
    return cell;
  }

  private sortButton(tuple: Member[], caption: string): HTMLElement {
    const column = tuple.map((member) => member.name);
    const { sort, sortBy } = this.use ?? {};
    const order = sort && sort.column.join() === column.join() ? (sort.descending ? "descending" : "ascending") : "";
    const label = `Sort by ${captionsOf(tuple)}${order ? `, now ${order}` : ""}`;
    const attributes = {
      type: "button",
      class: `sort ${order}`,
      "aria-label": label,
      "data-key": `sort ${column.join()}`,
    };
    return h("button", { ...attributes, onclick: () => sortBy?.(column) }, caption);
  }

  /** What a cell is like, each time that it is drawn. */
  private style(): void {
    for (const cell of this.element.querySelectorAll<HTMLTableCellElement>("tbody td, tbody th")) {
      const place = this.element.getMeta(cell) as CellMetadata | undefined;
      const y = place !== undefined && "y" in place ? (place.y ?? 0) : 0;
      const total = (tuple: Member[] | undefined) => tuple?.some((member) => isTotal(member.name)) ?? false;
      if (place?.type === "body") {
        const isCurrent = this.current?.row === y && this.current.column === place.x;
        cell.classList.toggle("current", isCurrent);
        cell.classList.toggle("total", total(this.grid.rows[y]) || total(this.grid.columns[place.x]));
        const found = this.grid.cell(y, place.x);
        cell.classList.toggle("error", found?.error !== undefined);
        cell.classList.toggle("text", typeof found?.value === "string");
        cell.title = found?.error ?? "";
      } else {
        cell.scope = "row";
      }
    }
    const headings = [...this.element.querySelectorAll<HTMLTableRowElement>("thead tr")];
    for (const [at, heading] of headings.entries()) {
      for (const [place, cell] of [...heading.cells].entries()) {
        const text = at === headings.length - 1 ? this.use?.corner[place] : undefined;
        if (cell.classList.contains("rt-group-corner")) {
          // Text for the last line; the lines above it have nothing to say here.
          (cell.firstElementChild ?? cell).textContent = text ?? "";
          cell.setAttribute("role", text ? "columnheader" : "cell");
        } else {
          cell.removeAttribute("role");
        }
        cell.scope = "col";
      }
    }
  }

  private click(event: Event): void {
    const cell = (event.target as HTMLElement).closest("td");
    const place = cell ? this.element.getMeta(cell) : undefined;
    if (place?.type === "body" && this.grid.cell(place.y, place.x) !== undefined) {
      this.use?.drill(place.y, place.x);
    }
  }

  /** The arrows move from cell to cell, Return shows the rows behind one. */
  private key(event: KeyboardEvent): void {
    const { grid, current } = this;
    if (event.target !== this.element || grid.rows.length === 0 || grid.columns.length === 0) {
      return;
    }
    if (event.key === "Enter" && current && grid.cell(current.row, current.column)) {
      event.preventDefault();
      this.use?.drill(current.row, current.column);
      return;
    }
    const { row, column } = current ?? { row: -1, column: 0 };
    const page = 10;
    const to = {
      ArrowDown: [row + 1, column],
      ArrowUp: [row - 1, column],
      ArrowRight: [Math.max(row, 0), column + (current ? 1 : 0)],
      ArrowLeft: [Math.max(row, 0), column - 1],
      PageDown: [row + page, column],
      PageUp: [row - page, column],
      Home: [0, 0],
      End: [grid.rows.length - 1, grid.columns.length - 1],
    }[event.key];
    if (to !== undefined && !event.ctrlKey && !event.altKey && !event.metaKey) {
      event.preventDefault();
      const within = (at: number | undefined, count: number) => Math.max(0, Math.min(at ?? 0, count - 1));
      this.moveTo({ row: within(to[0], grid.rows.length), column: within(to[1], grid.columns.length) });
    }
  }

  private moveTo(place: { row: number; column: number } | null): void {
    this.current = place;
    if (place === null) {
      this.style();
      return;
    }
    const { row, column } = place;
    const text = this.grid.cell(row, column)?.formatted ?? "empty";
    const names = [this.grid.rows[row], this.grid.columns[column]].map((tuple) => captionsOf(tuple ?? []));
    this.say(`${names.filter((name) => name !== "").join(", ")}: ${text}`);
    void this.reveal(row, column);
  }

  private async reveal(row: number, column: number): Promise<void> {
    const seen = (at: number, kind: "x" | "y") =>
      [...this.element.querySelectorAll("tbody td")].some((cell) => {
        const place = this.element.getMeta(cell as HTMLTableCellElement);
        if (place?.type !== "body" || place[kind] !== at) {
          return false;
        }
        const [it, all] = [cell.getBoundingClientRect(), this.element.getBoundingClientRect()];
        return kind === "x" ? it.right <= all.right - 12 : it.bottom <= all.bottom - 12;
      });
    if (!seen(row, "y") || !seen(column, "x")) {
      const first = this.element.querySelector<HTMLTableCellElement>("tbody td");
      const place = first ? this.element.getMeta(first) : undefined;
      const left = place?.type === "body" && seen(column, "x") ? place.x : column;
      await this.element.scrollToCell(left, Math.max(row - 2, 0));
      await this.element.draw();
    }
    this.style();
  }
}
