// What is asked of a cube: plain values, and functions that make another question of one.

import { findHierarchy, findLevel, hierarchiesOf, type Structure } from "./metadata.ts";

export type Area = "rows" | "columns" | "filter";
export const AREAS: Area[] = ["rows", "columns", "filter"];

/** A hierarchy that has a place in the table, or restricts it. */
export interface Placed {
  hierarchy: string;
  level: string;
  /** Only these members; all of the level when there are none. */
  members: string[];
  /** Members below which the table shows their children. */
  expanded: string[];
}

export type ChartKind = "none" | "line" | "bar" | "stacked";
export const CHART_KINDS: ChartKind[] = ["none", "line", "bar", "stacked"];

export interface Question {
  database: string;
  cube: string;
  measures: string[];
  rows: Placed[];
  columns: Placed[];
  filter: Placed[];
  /** The column that orders the rows: its members, the measure last. */
  sort: { column: string[]; descending: boolean } | null;
  /** Only so many members of the rows' first hierarchy, those with the most; 0 for all. */
  top: number;
  hideEmpty: boolean;
  totals: boolean;
  chart: ChartKind;
  /** Which thousand of the rows, from 0. */
  page: number;
  /** A question in somebody's own words, which counts instead of everything above but the chart. */
  mdx: string;
}

/** The table that says something at once: the default measure by the first dimension's first level. */
export function firstQuestion(structure: Structure): Question {
  const hierarchy = hierarchiesOf(structure).find((candidate) => candidate.levels.length > 0);
  const level = hierarchy?.levels[0];
  return {
    database: structure.database,
    cube: structure.cube,
    measures: [structure.defaultMeasure],
    rows: hierarchy && level ? [placed(hierarchy.name, level.name)] : [],
    columns: [],
    filter: [],
    sort: null,
    top: 0,
    hideEmpty: true,
    totals: false,
    chart: "none",
    page: 0,
    mdx: "",
  };
}

function placed(hierarchy: string, level: string): Placed {
  return { hierarchy, level, members: [], expanded: [] };
}

export function findPlaced(question: Question, hierarchy: string): { area: Area; at: number; it: Placed } | null {
  for (const area of AREAS) {
    const at = question[area].findIndex((one) => one.hierarchy === hierarchy);
    const it = question[area][at];
    if (it !== undefined) {
      return { area, at, it };
    }
  }
  return null;
}

/** Another shape of the table: what belonged to the rows and columns as they were is forgotten. */
function reshaped(question: Question, changes: Partial<Question>): Question {
  return { ...question, sort: null, page: 0, mdx: "", ...changes };
}

export function remove(question: Question, hierarchy: string): Question {
  const without = (area: Area) => question[area].filter((one) => one.hierarchy !== hierarchy);
  return reshaped(question, {
    rows: without("rows"),
    columns: without("columns"),
    filter: without("filter"),
  });
}

/** Gives a hierarchy a place, by one of its levels; it leaves the one that it had. */
export function place(question: Question, hierarchy: string, level: string, area: Area, at?: number): Question {
  const old = findPlaced(question, hierarchy)?.it;
  const moved = old && old.level === level ? old : placed(hierarchy, level);
  const rest = remove(question, hierarchy);
  const list = [...rest[area]];
  list.splice(at ?? list.length, 0, moved);
  return { ...rest, [area]: list };
}

export function setMembers(question: Question, hierarchy: string, level: string, members: string[]): Question {
  const change = (area: Area) =>
    question[area].map((one) => (one.hierarchy === hierarchy ? { ...placed(hierarchy, level), members } : one));
  return reshaped(question, { rows: change("rows"), columns: change("columns"), filter: change("filter") });
}

export function toggleExpanded(question: Question, hierarchy: string, member: string): Question {
  const toggle = (one: Placed): Placed => {
    if (one.hierarchy !== hierarchy) {
      return one;
    }
    const expanded = one.expanded.includes(member)
      ? one.expanded.filter((other) => other !== member)
      : [...one.expanded, member];
    return { ...one, expanded };
  };
  return { ...question, mdx: "", rows: question.rows.map(toggle), columns: question.columns.map(toggle) };
}

/** The last measure stays: without one there is nothing to show. */
export function toggleMeasure(question: Question, measure: string, all: string[]): Question {
  const on = new Set(question.measures);
  if (!on.delete(measure)) {
    on.add(measure);
  }
  const measures = all.filter((one) => on.has(one));
  return measures.length === 0 ? question : reshaped(question, { measures });
}

export function swap(question: Question): Question {
  return reshaped(question, { rows: question.columns, columns: question.rows });
}

/** First the highest, then the lowest, then in their own order. */
export function sortBy(question: Question, column: string[]): Question {
  const same = question.sort !== null && question.sort.column.join() === column.join();
  if (same && !question.sort?.descending) {
    return { ...question, mdx: "", page: 0, sort: null };
  }
  return { ...question, mdx: "", page: 0, sort: { column, descending: !same } };
}

/** Whether a question from elsewhere, such as an address, fits the cube; the parts that do not are left out. */
export function fitted(question: Question, structure: Structure): Question {
  const fits = (one: Placed) => {
    const hierarchy = findHierarchy(structure, one.hierarchy);
    return hierarchy !== undefined && findLevel(structure, one.level) !== undefined;
  };
  const known = new Set(structure.measures.map((measure) => measure.name));
  const measures = question.measures.filter((measure) => known.has(measure));
  const rest = {
    ...question,
    measures: measures.length > 0 ? measures : [structure.defaultMeasure],
    rows: question.rows.filter(fits),
    columns: question.columns.filter(fits),
    filter: question.filter.filter(fits),
  };
  const sortable =
    rest.sort !== null &&
    rest.sort.column.length === rest.columns.length + 1 &&
    rest.measures.includes(rest.sort.column[rest.sort.column.length - 1] ?? "");
  return sortable ? rest : { ...rest, sort: null };
}
