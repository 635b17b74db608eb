// An answer as a table: rows and columns of members, and cells where they meet.

import { isTotal } from "./mdx.ts";
import type { Cell, Dataset, Member } from "./xmla.ts";

export interface Grid {
  rows: Member[][];
  columns: Member[][];
  cell(row: number, column: number): Cell | undefined;
}

/** Throws for answers of more than two axes, which no table can show. */
export function gridOf(dataset: Dataset): Grid {
  if (dataset.axes.length > 2) {
    throw new Error("an answer with more than two axes cannot be shown as a table");
  }
  const [columns = { hierarchies: [], tuples: [[]] }, rows = { hierarchies: [], tuples: [[]] }] = dataset.axes;
  const width = columns.tuples.length;
  return {
    rows: rows.tuples,
    columns: columns.tuples,
    cell: (row, column) => dataset.cells.get(row * width + column),
  };
}

export function captionOf(member: Member): string {
  return isTotal(member.name) ? "Total" : member.caption;
}

/** A header's text in one line. */
export function captionsOf(tuple: Member[]): string {
  return tuple.map(captionOf).join(" · ");
}

/** How far a member stands below the topmost ones of its place. */
export function indentations(tuples: Member[][]): number[] {
  const width = tuples[0]?.length ?? 0;
  return Array.from({ length: width }, (_, at) =>
    tuples.reduce((least, tuple) => {
      const member = tuple[at];
      return member === undefined || isTotal(member.name) ? least : Math.min(least, member.depth);
    }, Infinity),
  );
}

/** How many members of a column tell it apart: one measure for all columns does not. */
export function columnDepth(tuples: Member[][]): number {
  const depth = tuples[0]?.length ?? 0;
  const last = new Set(tuples.map((tuple) => tuple[depth - 1]?.name));
  return depth > 1 && last.size === 1 ? depth - 1 : depth;
}

/** The table as texts, headers first; figures as plain numbers. */
export function tableTexts(grid: Grid): string[][] {
  const corner = Array.from({ length: grid.rows[0]?.length ?? 0 }, () => "");
  const headings = Array.from({ length: grid.columns[0]?.length ?? 0 }, (_, at) => [
    ...corner,
    ...grid.columns.map((tuple) => harmless(tuple[at] ? captionOf(tuple[at]) : "")),
  ]);
  const lines = grid.rows.map((tuple, row) => [
    ...tuple.map((member) => harmless(captionOf(member))),
    ...grid.columns.map((_, column) => cellText(grid.cell(row, column))),
  ]);
  return [...headings, ...lines];
}

function cellText(cell: Cell | undefined): string {
  if (cell === undefined || cell.error !== undefined) {
    return "";
  }
  return typeof cell.value === "number" ? String(cell.value) : harmless(cell.value);
}

/** Spreadsheets would compute texts that begin like formulas. */
function harmless(text: string): string {
  return /^[=+\-@\t\r]/.test(text) ? `'${text}` : text;
}

/** For a file: commas, quotes where they are needed, and the mark by which spreadsheets know UTF-8. */
export function csv(table: string[][]): string {
  const quoted = (text: string) => (/[",\r\n]|^\s|\s$/.test(text) ? `"${text.replace(/"/g, '""')}"` : text);
  return `\ufeff${table.map((line) => line.map(quoted).join(",")).join("\r\n")}\r\n`;
}

/** For the clipboard: what spreadsheets take apart into cells. */
export function tabbed(table: string[][]): string {
  return table.map((line) => line.map((text) => text.replace(/[\t\r\n]+/g, " ")).join("\t")).join("\n");
}
