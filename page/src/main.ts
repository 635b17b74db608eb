// The page as a whole: one question at a time, asked, shown and written into the address.

import type { RegularTableElement } from "regular-table";
import { decodeQuestion, encodeQuestion } from "./address.ts";
import { csv, gridOf, tabbed, tableTexts, type Grid } from "./answer.ts";
import { showCatalogue } from "./catalogue.ts";
import { AnswerChart, MOST_POINTS, MOST_SERIES } from "./chart.ts";
import { byId, fill, h, save } from "./dom.ts";
import { showRowsBehind } from "./drill.ts";
import { showFields, type FieldUse } from "./fields.ts";
import { chooseMembers } from "./members.ts";
import { buildCountMdx, buildLevelCountMdx, buildMdx, levelsBelow, MOST_COLUMNS, PAGE_ROWS } from "./mdx.ts";
import { findHierarchy, loadDatabases, loadedAt, loadStructure, type Database, type Structure } from "./metadata.ts";
import { printable } from "./print.ts";
import {
  findPlaced,
  firstQuestion,
  fitted,
  remove,
  setMembers,
  sortBy,
  toggleExpanded,
  type Question,
} from "./question.ts";
import { showShelves } from "./shelves.ts";
import { PivotTable } from "./table.ts";
import { showToolbar } from "./toolbar.ts";
import { XmlaClient } from "./xmla.ts";

const BUSY_MILLISECONDS = 150;
/** How soon the list of cubes is looked at again, with a question. */
const REFRESH_MILLISECONDS = 5000;

const client = new XmlaClient();
const chart = new AnswerChart(byId("chart"));
const table = new PivotTable(byId<RegularTableElement>("table"), (text) => (byId("spoken").textContent = text));

let databases: Database[] = [];
let structure: Structure | null = null;
let stamp = "";
/** Levels that the engine has looked at as a whole since then. */
const known = new Set<string>();
let question: Question | null = null;
let grid: Grid | null = null;
let refreshAt = 0;
let running: AbortController | null = null;

/** Asks, shows the answer, and lets the address say what was asked. */
async function ask(wanted: Question, history: "push" | "replace" | "keep" = "push"): Promise<void> {
  running?.abort();
  const run = (running = new AbortController());
  question = wanted;
  const busy = setTimeout(() => document.body.classList.add("busy"), BUSY_MILLISECONDS);
  try {
    await follow(wanted);
    if (run.signal.aborted || structure === null) {
      return;
    }
    question = fitted(wanted, structure);
    writeAddress(question, history);
    showControls();
    const begin = performance.now();
    await knowBelow(question, structure, run.signal);
    const dataset = await client.execute(question.database, buildMdx(question, structure), run.signal);
    const milliseconds = Math.round(performance.now() - begin);
    if (!run.signal.aborted) {
      grid = gridOf(dataset);
      await showAnswer(question, structure, grid);
      await showStatus(question, structure, grid, milliseconds, run.signal);
    }
  } catch (error) {
    if (!run.signal.aborted) {
      writeAddress(question, history);
      showFault(error instanceof Error ? error.message : String(error));
    }
  } finally {
    clearTimeout(busy);
    if (running === run) {
      document.body.classList.remove("busy");
      document.body.dataset["asked"] = String(Number(document.body.dataset["asked"] ?? 0) + 1);
    }
  }
}

/** Knows the cube that is asked, and notices that it was imported anew. */
async function follow({ database, cube }: Question): Promise<void> {
  if (performance.now() > refreshAt) {
    refreshAt = performance.now() + REFRESH_MILLISECONDS;
    void refreshCatalogue();
  }
  const isSame = structure?.database === database && structure.cube === cube;
  const now = await loadedAt(client, database, cube);
  if (!isSame || now !== stamp) {
    structure = null;
    structure = await loadStructure(client, database, cube);
    stamp = now;
    known.clear();
  }
}

/** Lets the engine read levels as a whole that it would ask the warehouse about member by member. */
async function knowBelow(now: Question, cube: Structure, signal: AbortSignal): Promise<void> {
  const unknown = now.mdx === "" ? levelsBelow(now, cube).filter((level) => !known.has(level)) : [];
  for (const level of unknown) {
    await client.execute(now.database, buildLevelCountMdx(now.cube, level), signal);
    known.add(level);
  }
}

async function refreshCatalogue(): Promise<void> {
  try {
    databases = await loadDatabases(client);
    showCatalogue(byId("catalogue"), databases, question, (database, cube) => void open(database, cube));
  } catch (error) {
    fill(byId("catalogue"), h("p", { class: "reason", role: "alert" }, (error as Error).message));
  }
}

async function open(database: string, cube: string): Promise<void> {
  try {
    const cubeThere = await loadStructure(client, database, cube);
    closeOnSmallScreens();
    await ask(firstQuestion(cubeThere));
  } catch (error) {
    showFault(error instanceof Error ? error.message : String(error));
  }
}

function closeOnSmallScreens(): void {
  if (!matchMedia("(min-width: 900px)").matches) {
    document.querySelectorAll("details.panel").forEach((panel) => panel.removeAttribute("open"));
  }
}

function writeAddress(now: Question, history: "push" | "replace" | "keep"): void {
  const address = `#${encodeQuestion(now)}`;
  document.title = `${now.cube} · ${now.database}`;
  if (history === "push" && address !== location.hash) {
    window.history.pushState(null, "", address);
  } else if (history === "replace") {
    window.history.replaceState(null, "", address);
  }
}

const use: FieldUse = {
  ask: (next) => void ask(next),
  choose: (hierarchy) => {
    const asked = question;
    if (asked && structure) {
      chooseMembers(client, structure, asked, hierarchy, (level, members) => {
        const isFilter = findPlaced(asked, hierarchy)?.area === "filter";
        const next = setMembers(asked, hierarchy, level, members);
        void ask(isFilter && members.length === 0 ? remove(asked, hierarchy) : next);
      });
    }
  },
};

function showControls(): void {
  if (!question || !structure) {
    return;
  }
  document.body.classList.add("asking");
  fill(byId("title"), question.cube, h("small", {}, question.database));
  showFields(byId("fields"), structure, question, use);
  showShelves(byId("shelves"), structure, question, use);
  showToolbar(byId("toolbar"), question, { ask: use.ask, keepFile, copy: () => void copy() });
  showCatalogue(byId("catalogue"), databases, question, (database, cube) => void open(database, cube));
  byId<HTMLTextAreaElement>("mdx-text").value = buildMdx(question, structure);
  byId("mdx-reset").hidden = question.mdx === "";
  byId<HTMLDetailsElement>("mdx").open ||= question.mdx !== "";
}

async function showAnswer(now: Question, cube: Structure, answer: Grid): Promise<void> {
  document.body.classList.remove("faulty");
  fill(byId("fault"));
  const own = now.mdx === "";
  const isEmpty = answer.rows.length === 0 || answer.columns.length === 0;
  document.body.classList.toggle("nothing", isEmpty);
  document.body.classList.toggle("charted", now.chart !== "none" && !isEmpty);
  const corner = own ? now.rows.map((placed) => findHierarchy(cube, placed.hierarchy)?.caption ?? "") : [];
  await table.show(answer, {
    corner,
    sort: own ? now.sort : null,
    isExpanded: (member) => [...now.rows, ...now.columns].some((placed) => placed.expanded.includes(member.name)),
    expand: own ? (member) => void ask(toggleExpanded(now, hierarchyOf(now, member.name), member.name)) : null,
    sortBy: own && now.rows.length > 0 ? (column) => void ask(sortBy(now, column)) : null,
    drill: (row, column) => own && void showRowsBehind(client, cube, now, answer, row, column),
  });
  if (now.chart !== "none" && !isEmpty) {
    chart.show(answer, now.chart);
  } else {
    chart.clear();
  }
}

/** The placed hierarchy to which a member belongs: its name is the beginning of the member's. */
function hierarchyOf(now: Question, member: string): string {
  const found = [...now.rows, ...now.columns].filter((placed) => member.startsWith(`${placed.hierarchy}.`));
  return found.sort((a, b) => b.hierarchy.length - a.hierarchy.length)[0]?.hierarchy ?? "";
}

async function showStatus(
  now: Question,
  cube: Structure,
  answer: Grid,
  milliseconds: number,
  signal: AbortSignal,
): Promise<void> {
  const number = (value: number) => value.toLocaleString("en");
  const count = (value: number, word: string) => `${number(value)} ${word}${value === 1 ? "" : "s"}`;
  const notes = [count(answer.columns.length, "column"), `${number(milliseconds)} ms`];
  if (now.mdx !== "") {
    notes.push("asked by MDX of your own");
  }
  const pages: HTMLElement[] = [];
  let rows = count(answer.rows.length, "row");
  if (now.mdx === "" && (now.page > 0 || answer.rows.length === PAGE_ROWS)) {
    const counted = await client.execute(now.database, buildCountMdx(now, cube), signal);
    const total = Number(counted.cells.get(0)?.value ?? 0);
    const first = now.page * PAGE_ROWS;
    rows = `rows ${number(first + 1)}–${number(first + answer.rows.length)} of ${number(total)}`;
    const turn = (text: string, page: number, possible: boolean) =>
      h(
        "button",
        { type: "button", "data-key": text, disabled: !possible, onclick: () => void ask({ ...now, page }) },
        text,
      );
    pages.push(
      turn("Previous rows", now.page - 1, now.page > 0),
      turn("Next rows", now.page + 1, first + PAGE_ROWS < total),
    );
  }
  if (answer.columns.length >= MOST_COLUMNS * now.measures.length && now.columns.length > 0) {
    notes.push(`no more than ${MOST_COLUMNS} members are shown in columns`);
  }
  if (now.chart !== "none" && (answer.rows.length > MOST_POINTS || answer.columns.length > MOST_SERIES)) {
    notes.push(`the chart shows the first ${MOST_POINTS} rows and ${MOST_SERIES} columns`);
  }
  if (!signal.aborted) {
    fill(byId("status"), h("span", {}, [rows, ...notes].join(" · ")), ...pages);
  }
}

function showFault(reason: string): void {
  grid = null;
  chart.clear();
  showControls();
  document.body.classList.add("faulty", "asking");
  document.body.classList.remove("charted", "nothing");
  fill(byId("fault"), h("b", {}, "There is no answer"), h("p", {}, reason));
  fill(byId("status"));
}

function keepFile(): void {
  if (grid && question) {
    save(`${question.cube}.csv`, "text/csv", csv(tableTexts(grid)));
  }
}

async function copy(): Promise<void> {
  if (grid) {
    const text = tabbed(tableTexts(grid));
    try {
      await navigator.clipboard.writeText(text);
    } catch {
      copyAsBefore(text);
    }
    byId("spoken").textContent = "Copied";
    byId("toolbar").classList.add("copied");
    setTimeout(() => byId("toolbar").classList.remove("copied"), 1500);
  }
}

/** Browsers give pages of plain addresses no clipboard, but let them copy what is selected. */
function copyAsBefore(text: string): void {
  const area = h("textarea", { class: "spoken", "aria-hidden": "true" });
  area.value = text;
  document.body.append(area);
  area.select();
  document.execCommand("copy");
  area.remove();
}

function runMdx(): void {
  const mdx = byId<HTMLTextAreaElement>("mdx-text").value.trim();
  if (question && structure && mdx !== "") {
    const built = buildMdx({ ...question, mdx: "" }, structure);
    void ask({ ...question, page: 0, mdx: mdx === built ? "" : mdx });
  }
}

function askAddress(history: "replace" | "keep"): void {
  const wanted = decodeQuestion(location.hash);
  if (wanted) {
    void ask(wanted, history);
  } else {
    void refreshCatalogue();
  }
}

byId("skip").addEventListener("click", (event) => {
  // The end of the address holds the question.
  event.preventDefault();
  byId("answer").focus();
});
byId("mdx-run").addEventListener("click", runMdx);
byId("mdx-reset").addEventListener("click", () => question && void ask({ ...question, mdx: "" }));
byId("mdx-text").addEventListener("keydown", (event) => {
  if (event.key === "Enter" && (event.ctrlKey || event.metaKey)) {
    event.preventDefault();
    runMdx();
  }
});
addEventListener("popstate", () => askAddress("keep"));
addEventListener("beforeprint", () => printable(byId("print"), document.title, grid));
addEventListener("afterprint", () => fill(byId("print")));
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
  if (grid && question && question.chart !== "none") {
    chart.show(grid, question.chart);
  }
});
askAddress("replace");
