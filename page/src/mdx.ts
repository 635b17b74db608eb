// A question as MDX.
//
// Each hierarchy of an axis is a set: its level's members or the chosen ones, the top ones of them, the
// children of expanded ones after their parents. A hierarchy's total is a member of the question's own,
// the sum of that set: the total of what is shown, also where the cube has no member of everything.

import { findHierarchy, findLevel, type Structure } from "./metadata.ts";
import type { Placed, Question } from "./question.ts";

/** The rows of one page, and the most columns. */
export const PAGE_ROWS = 1000;
export const MOST_COLUMNS = 200;
/** Levels of fewer members need no limit. */
const SMALL = 200;
/** More members than that are not looked at one by one. */
const MANY = 50;

const TOTAL = "[*Total*]";

/** A name in brackets. */
export function quoteName(name: string): string {
  return `[${name.replace(/\]/g, "]]")}]`;
}

export function quoteText(text: string): string {
  return `"${text.replace(/"/g, '""')}"`;
}

export function totalOf(hierarchy: string): string {
  return `${hierarchy}.${TOTAL}`;
}

export function isTotal(member: string): boolean {
  return member.endsWith(`.${TOTAL}`);
}

/** The last name of a unique name, for people. */
export function lastName(unique: string): string {
  const names = unique.match(/\[(?:[^\]]|\]\])*\]/g) ?? [];
  return (names[names.length - 1] ?? unique).replace(/^\[|\]$/g, "").replace(/\]\]/g, "]");
}

function tuple(members: string[]): string {
  return members.length === 1 ? (members[0] ?? "") : `(${members.join(", ")})`;
}

function crossJoin(sets: string[]): string {
  return sets.reduceRight((right, left) => `CrossJoin(${left}, ${right})`);
}

function membersOf(placed: Placed): string {
  return placed.members.length > 0 ? `{${placed.members.join(", ")}}` : `${placed.level}.Members`;
}

/** One question's parts. */
class Builder {
  private readonly totals = new Set<string>();

  constructor(
    private readonly question: Question,
    private readonly structure: Structure,
  ) {}

  /** The members of a hierarchy before any are expanded. */
  private base(placed: Placed): string {
    const { rows, top } = this.question;
    if (top === 0 || placed !== rows[0]) {
      return membersOf(placed);
    }
    return `TopCount(${membersOf(placed)}, ${top}, ${this.order(rows.slice(1))})`;
  }

  /** What rows are ordered by, over all members of the hierarchies further in. */
  private order(inner: Placed[]): string {
    const { sort, columns, measures } = this.question;
    const column = sort?.column ?? [...columns.map((one) => this.total(one)), measures[0] ?? ""];
    column.filter(isTotal).forEach((member) => this.totals.add(member));
    return tuple([...column, ...inner.map((one) => this.total(one))]);
  }

  private total(placed: Placed): string {
    const name = totalOf(placed.hierarchy);
    this.totals.add(name);
    return name;
  }

  private expanded(placed: Placed): string {
    const set = this.base(placed);
    return placed.expanded.length > 0 ? `DrilldownMember(${set}, {${placed.expanded.join(", ")}}, RECURSIVE)` : set;
  }

  private rowSet(placed: Placed, inner: Placed[]): string {
    const { sort } = this.question;
    if (!sort) {
      return this.expanded(placed);
    }
    const ordered = (set: string) => `Order(${set}, ${this.order(inner)}, ${sort.descending ? "BDESC" : "BASC"})`;
    const current = `${placed.hierarchy}.CurrentMember`;
    // Parents were expanded before their children.
    return placed.expanded.reduce(
      (set, member) =>
        `Generate(${set}, IIf(${current} IS ${member}, {${current}, ${ordered(`${member}.Children`)}}, {${current}}))`,
      ordered(this.base(placed)),
    );
  }

  /** The tuples of nested hierarchies, each group followed by its total. */
  private nested(list: Placed[], set: (placed: Placed, inner: Placed[]) => string, ordered: boolean): string {
    const [first, ...inner] = list;
    if (first === undefined) {
      return "{}";
    }
    let tuples = set(first, inner);
    if (inner.length > 0) {
      const rest = this.nested(inner, set, ordered);
      tuples = ordered
        ? `Generate(${tuples}, CrossJoin({${first.hierarchy}.CurrentMember}, ${rest}))`
        : `CrossJoin(${tuples}, ${rest})`;
    }
    return this.question.totals ? `{${tuples}, ${tuple(list.map((one) => this.total(one)))}}` : tuples;
  }

  /** About how many tuples hierarchies have together. */
  private size(list: Placed[]): number {
    return list.reduce((product, { level, members }) => {
      const size = members.length > 0 ? members.length : (findLevel(this.structure, level)?.size ?? Infinity);
      return product * Math.max(size, 1);
    }, 1);
  }

  rows(): string {
    const { rows, sort } = this.question;
    return this.nested(rows, (placed, inner) => this.rowSet(placed, inner), sort !== null);
  }

  isLarge(): boolean {
    return this.size(this.question.rows) > SMALL || this.question.page > 0;
  }

  /** Of large answers a part: what is empty is left out before it is counted off. */
  filledRows(): string {
    const { hideEmpty, measures, columns } = this.question;
    if (!hideEmpty) {
      return this.rows();
    }
    const over = columns.map((one) => this.total(one));
    const filled = measures.map((measure) => `NOT IsEmpty(${tuple([...over, measure])})`);
    return `Filter(${this.rows()}, ${filled.join(" OR ")})`;
  }

  columns(): string {
    const { columns, measures } = this.question;
    const set = `{${measures.join(", ")}}`;
    if (columns.length === 0) {
      return set;
    }
    const members = this.nested(columns, (placed) => this.expanded(placed), false);
    const tuples = this.size(columns) > SMALL ? `Head(${members}, ${MOST_COLUMNS})` : members;
    return crossJoin([tuples, set]);
  }

  with(more: string[] = []): string {
    const { rows, columns } = this.question;
    const sums = [...rows, ...columns]
      .filter((placed) => this.totals.has(totalOf(placed.hierarchy)))
      .map((placed) => `MEMBER ${totalOf(placed.hierarchy)} AS Aggregate(${this.base(placed)})`);
    // The sum of the top ones asks for the totals further in: those are told first.
    const parts = [...sums.reverse(), ...more];
    return parts.length > 0 ? `WITH ${parts.join("\n  ")}\n` : "";
  }

  where(): string {
    const sets = this.question.filter.filter((placed) => placed.members.length > 0);
    if (sets.length === 0) {
      return "";
    }
    return sets.every((placed) => placed.members.length === 1)
      ? `\nWHERE (${sets.map((placed) => placed.members[0]).join(", ")})`
      : `\nWHERE ${crossJoin(sets.map(membersOf))}`;
  }
}

/** The MDX of a question; somebody's own words as they are. */
export function buildMdx(question: Question, structure: Structure): string {
  if (question.mdx !== "") {
    return question.mdx;
  }
  const builder = new Builder(question, structure);
  const nonEmpty = question.hideEmpty ? "NON EMPTY " : "";
  const axes = [`${nonEmpty}${builder.columns()} ON COLUMNS`];
  if (question.rows.length > 0) {
    const rows = builder.isLarge()
      ? `Subset(${builder.filledRows()}, ${question.page * PAGE_ROWS}, ${PAGE_ROWS})`
      : builder.rows();
    axes.push(`${nonEmpty}${rows} ON ROWS`);
  }
  const select = `SELECT ${axes.join(",\n  ")}\nFROM ${quoteName(question.cube)}${builder.where()}`;
  return builder.with() + select;
}

/** How many rows there are over all pages, in a cell of its own. */
export function buildCountMdx(question: Question, structure: Structure): string {
  const builder = new Builder(question, structure);
  const rows = builder.filledRows();
  const count = "[Measures].[*Rows*]";
  const select = `SELECT {${count}} ON COLUMNS\nFROM ${quoteName(question.cube)}${builder.where()}`;
  return builder.with([`MEMBER ${count} AS Count(${rows})`]) + select;
}

/**
 * The rows behind a cell; totals stand for the members that they sum. Nothing for a sum of the top ones,
 * which no condition on rows says.
 */
export function buildDrillMdx(
  question: Question,
  structure: Structure,
  members: string[],
  most: number,
): string | null {
  const summed = [...question.rows, ...question.columns].filter((one) => members.includes(totalOf(one.hierarchy)));
  if (question.top > 0 && question.rows[0] !== undefined && summed.includes(question.rows[0])) {
    return null;
  }
  const restricts = (one: Placed) => one.members.length > 0 || findHierarchy(structure, one.hierarchy)?.all === null;
  const slicers = [...summed.filter(restricts), ...question.filter.filter((one) => one.members.length > 0)];
  const where = slicers.length > 0 ? `\nWHERE ${crossJoin(slicers.map(membersOf))}` : "";
  const cell = tuple(members.filter((member) => !isTotal(member)));
  return `DRILLTHROUGH MAXROWS ${most}\nSELECT {${cell}} ON COLUMNS\nFROM ${quoteName(question.cube)}${where}`;
}

/** Members of a level whose captions hold a text, a page of them, and their number in each cell. */
export function buildSearchMdx(
  cube: string,
  hierarchy: string,
  level: string,
  text: string,
  from: number,
  count: number,
): string {
  const members = `${level}.Members`;
  const wanted = `InStr(UCase(${hierarchy}.CurrentMember.Caption), UCase(${quoteText(text)})) > 0`;
  const found = text === "" ? members : `Filter(${members}, ${wanted})`;
  return (
    `WITH SET [*Found*] AS ${found}\n  MEMBER [Measures].[*Number*] AS Count([*Found*])\n` +
    `SELECT {[Measures].[*Number*]} ON COLUMNS,\n` +
    `  Subset([*Found*], ${from}, ${count}) DIMENSION PROPERTIES PARENT_UNIQUE_NAME ON ROWS\n` +
    `FROM ${quoteName(cube)}`
  );
}

/**
 * Levels below the ones that a large answer shows. For each member the engine says whether there are any
 * below it, and asks the warehouse for each one by itself unless it knows the whole level.
 */
export function levelsBelow(question: Question, structure: Structure): string[] {
  const shown = [...question.rows, ...question.columns].filter(
    ({ level, members }) => members.length === 0 && (findLevel(structure, level)?.size ?? 0) > MANY,
  );
  return shown.flatMap(({ hierarchy, level }) => {
    const levels = findHierarchy(structure, hierarchy)?.levels ?? [];
    const below = levels[levels.findIndex((one) => one.name === level) + 1];
    return below ? [below.name] : [];
  });
}

export function buildLevelCountMdx(cube: string, level: string): string {
  const count = "[Measures].[*Number*]";
  return `WITH MEMBER ${count} AS Count(${level}.Members)\nSELECT {${count}} ON COLUMNS\nFROM ${quoteName(cube)}`;
}

/** The hierarchies without a place and without a total: one default member of theirs counts. */
export function defaultSlicers(question: Question, structure: Structure): { hierarchy: string; member: string }[] {
  const named = new Set(
    [...question.rows, ...question.columns, ...question.filter.filter((one) => one.members.length > 0)].map(
      (one) => one.hierarchy,
    ),
  );
  return structure.dimensions
    .flatMap((dimension) => dimension.hierarchies)
    .filter((hierarchy) => hierarchy.all === null && !named.has(hierarchy.name))
    .map((hierarchy) => ({ hierarchy: hierarchy.name, member: hierarchy.defaultMember }));
}
