// A question as the end of an address, so that it can be sent to a colleague.

import { AREAS, CHART_KINDS, type Area, type ChartKind, type Placed, type Question } from "./question.ts";

const MOST_TOP = 1000;

/** What follows the "#". What is usual is left out. */
export function encodeQuestion(question: Question): string {
  const parts = new URLSearchParams({ database: question.database, cube: question.cube });
  question.measures.forEach((measure) => parts.append("measure", measure));
  for (const area of AREAS) {
    for (const { hierarchy, level, members, expanded } of question[area]) {
      const more = expanded.length > 0 ? [members, expanded] : members.length > 0 ? [members] : [];
      parts.append(area, JSON.stringify([hierarchy, level, ...more]));
    }
  }
  if (question.sort) {
    parts.set(question.sort.descending ? "descending" : "ascending", JSON.stringify(question.sort.column));
  }
  const { top, page, totals, hideEmpty, chart, mdx } = question;
  const rest: [string, string, boolean][] = [
    ["top", String(top), top > 0],
    ["empty", "shown", !hideEmpty],
    ["totals", "shown", totals],
    ["chart", chart, chart !== "none"],
    ["page", String(page + 1), page > 0],
    ["mdx", mdx, mdx !== ""],
  ];
  rest.filter(([, , wanted]) => wanted).forEach(([name, value]) => parts.set(name, value));
  return parts.toString();
}

/** Nothing when the address names no cube; parts that make no sense are left out. */
export function decodeQuestion(text: string): Question | null {
  const parts = new URLSearchParams(text.replace(/^#/, ""));
  const database = parts.get("database");
  const cube = parts.get("cube");
  if (!database || !cube) {
    return null;
  }
  const areas = Object.fromEntries(
    AREAS.map((area) => [
      area,
      parts
        .getAll(area)
        .map(readPlaced)
        .filter((one) => one !== null),
    ]),
  ) as Record<Area, Placed[]>;
  const descending = readNames(parts.get("descending"));
  const column = descending ?? readNames(parts.get("ascending"));
  const chart = parts.get("chart") as ChartKind;
  return {
    database,
    cube,
    measures: parts.getAll("measure"),
    ...areas,
    sort: column ? { column, descending: descending !== null } : null,
    top: Math.min(readNumber(parts.get("top")), MOST_TOP),
    hideEmpty: parts.get("empty") !== "shown",
    totals: parts.get("totals") === "shown",
    chart: CHART_KINDS.includes(chart) ? chart : "none",
    page: Math.max(readNumber(parts.get("page")) - 1, 0),
    mdx: parts.get("mdx") ?? "",
  };
}

function readNumber(text: string | null): number {
  return text !== null && /^\d{1,9}$/.test(text) ? Number(text) : 0;
}

function readJson(text: string | null): unknown {
  try {
    return text === null ? null : JSON.parse(text);
  } catch {
    return null;
  }
}

function isNames(value: unknown): value is string[] {
  return Array.isArray(value) && value.every((name) => typeof name === "string");
}

function readNames(text: string | null): string[] | null {
  const value = readJson(text);
  return isNames(value) ? value : null;
}

function readPlaced(text: string): Placed | null {
  const value = readJson(text);
  if (!Array.isArray(value)) {
    return null;
  }
  const [hierarchy, level, members = [], expanded = []] = value as unknown[];
  if (typeof hierarchy !== "string" || typeof level !== "string" || !isNames(members) || !isNames(expanded)) {
    return null;
  }
  return { hierarchy, level, members, expanded };
}
