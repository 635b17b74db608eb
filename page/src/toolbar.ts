// What can be done with the whole table.

import { fill, h } from "./dom.ts";
import { CHART_KINDS, swap, type ChartKind, type Question } from "./question.ts";

export const TOP = 10;

export interface ToolbarUse {
  ask(question: Question): void;
  keepFile(): void;
  copy(): void;
}

const CHART_NAMES: Record<ChartKind, string> = {
  none: "Table",
  line: "Line",
  bar: "Bars",
  stacked: "Stacked",
};

export function showToolbar(panel: HTMLElement, question: Question, use: ToolbarUse): void {
  const own = question.mdx === "";
  const toggle = (text: string, title: string, on: boolean, change: Partial<Question>) =>
    h(
      "button",
      {
        type: "button",
        "aria-pressed": String(on),
        "data-key": text,
        title,
        disabled: !own,
        onclick: () => use.ask({ ...question, page: 0, ...change }),
      },
      text,
    );
  const charts = CHART_KINDS.map((kind) =>
    h(
      "button",
      {
        type: "button",
        "aria-pressed": String(question.chart === kind),
        "data-key": `chart ${kind}`,
        onclick: () => use.ask({ ...question, chart: kind }),
      },
      CHART_NAMES[kind],
    ),
  );
  const action = (text: string, title: string, act: () => void, enabled = true) =>
    h("button", { type: "button", title, "data-key": text, disabled: !enabled, onclick: act }, text);
  const top = { top: question.top > 0 ? 0 : TOP, sort: question.sort };
  fill(
    panel,
    h(
      "div",
      { class: "group", role: "group", "aria-label": "Table" },
      toggle("Hide empty", "Leave out rows and columns without figures", question.hideEmpty, {
        hideEmpty: !question.hideEmpty,
      }),
      toggle("Totals", "Add totals and subtotals", question.totals, { totals: !question.totals }),
      toggle("Top ten", "Only the ten members with the most, by the sorted or the first column", question.top > 0, top),
      action("Swap", "Exchange rows and columns", () => use.ask(swap(question)), own),
    ),
    h("div", { class: "group joined", role: "group", "aria-label": "Chart" }, ...charts),
    h(
      "div",
      { class: "group", role: "group", "aria-label": "Take along" },
      action("Copy", "Copy the table for a spreadsheet", use.copy),
      action("CSV", "Keep the table as a file", use.keepFile),
    ),
  );
}
