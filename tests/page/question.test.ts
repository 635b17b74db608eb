// Questions, their addresses and their MDX, without a browser.

import assert from "node:assert/strict";
import { test } from "node:test";
import { decodeQuestion, encodeQuestion } from "../../page/src/address.ts";
import { csv, gridOf, tabbed, tableTexts } from "../../page/src/answer.ts";
import { buildDrillMdx, buildMdx, buildSearchMdx, defaultSlicers, lastName, quoteName } from "../../page/src/mdx.ts";
import type { Hierarchy, Structure } from "../../page/src/metadata.ts";
import * as q from "../../page/src/question.ts";
import { escapeXml, type Member } from "../../page/src/xmla.ts";

function hierarchy(name: string, all: boolean, ...levels: [string, number][]): Hierarchy {
  return {
    name: `[${name}]`,
    caption: name,
    all: all ? `[${name}].[All]` : null,
    defaultMember: all ? `[${name}].[All]` : `[${name}].[2025]`,
    levels: levels.map(([level, size], at) => ({
      name: `[${name}].[${level}]`,
      caption: level,
      depth: at + (all ? 1 : 0),
      size,
    })),
  };
}

const structure: Structure = {
  database: "Harbour Retail",
  cube: "Sales",
  dimensions: [
    hierarchy("Calendar", false, ["Year", 3], ["Quarter", 12]),
    hierarchy("Store", true, ["Country", 3], ["Store", 6]),
    hierarchy("Customer", true, ["Customer", 12000]),
  ].map((one) => ({ caption: one.caption, description: "", hierarchies: [one] })),
  measures: ["Revenue", "Cost"].map((name) => ({
    name: `[Measures].[${name}]`,
    caption: name,
    description: "",
  })),
  defaultMeasure: "[Measures].[Revenue]",
};
const first = q.firstQuestion(structure);
const nested = q.place(
  q.place(first, "[Store]", "[Store].[Country]", "rows"),
  "[Customer]",
  "[Customer].[Customer]",
  "filter",
);

test("the first question is the default measure by the first dimension's first level", () => {
  assert.equal(
    buildMdx(first, structure),
    "SELECT NON EMPTY {[Measures].[Revenue]} ON COLUMNS,\n  NON EMPTY [Calendar].[Year].Members ON ROWS\nFROM [Sales]",
  );
});

test("names and texts are quoted for MDX", () => {
  assert.equal(quoteName("a]b"), "[a]]b]");
  assert.equal(lastName("[Kind].[a]]b].[c.d]"), "c.d");
  assert.equal(lastName("[Kind].[a]]b]"), "a]b");
  assert.match(
    buildSearchMdx("a]b", "[H]", "[H].[L]", 'x"y', 100, 50),
    /UCase\("x""y"\)[^]*Subset\(\[\*Found\*\], 100, 50\)[^]*FROM \[a\]\]b\]/,
  );
});

test("nested rows with totals and a sort order groups by their totals", () => {
  const sorted = q.sortBy({ ...nested, totals: true }, ["[Measures].[Revenue]"]);
  const mdx = buildMdx(sorted, structure);
  assert.match(
    mdx,
    /Generate\(Order\(\[Calendar\]\.\[Year\]\.Members, \(\[Measures\]\.\[Revenue\], \[Store\]\.\[\*Total\*\]\), BDESC\)/,
  );
  assert.match(mdx, /MEMBER \[Store\]\.\[\*Total\*\] AS Aggregate\(\[Store\]\.\[Country\]\.Members\)/);
});

test("top ten, expansion, chosen members and filters become sets", () => {
  let asked = q.place(first, "[Store]", "[Store].[Country]", "rows", 0);
  asked = q.toggleExpanded({ ...asked, top: 10 }, "[Store]", "[Store].[Germany]");
  assert.match(
    buildMdx(asked, structure),
    /DrilldownMember\(TopCount\(\[Store\]\.\[Country\]\.Members, 10, \(\[Measures\]\.\[Revenue\], \[Calendar\]\.\[\*Total\*\]\)\), \{\[Store\]\.\[Germany\]\}, RECURSIVE\)/,
  );
  const filtered = q.setMembers(nested, "[Customer]", "[Customer].[Customer]", ["[Customer].[a]", "[Customer].[b]"]);
  assert.match(buildMdx(filtered, structure), /\nWHERE \{\[Customer\]\.\[a\], \[Customer\]\.\[b\]\}$/);
});

test("large answers are asked in pages, of which empty rows are left out before", () => {
  const large = { ...q.place(first, "[Customer]", "[Customer].[Customer]", "rows", 0), page: 2 };
  assert.match(
    buildMdx(large, structure),
    /Subset\(Filter\(.*, NOT IsEmpty\(\[Measures\]\.\[Revenue\]\)\), 2000, 1000\)/,
  );
});

test("the rows behind a total are those of its members; a sum of the top ones has none", () => {
  const asked = { ...first, totals: true };
  const cell = ["[Calendar].[*Total*]", "[Measures].[Revenue]"];
  assert.equal(
    buildDrillMdx(asked, structure, cell, 9),
    "DRILLTHROUGH MAXROWS 9\nSELECT {[Measures].[Revenue]} ON COLUMNS\nFROM [Sales]\nWHERE [Calendar].[Year].Members",
  );
  assert.equal(buildDrillMdx({ ...asked, top: 10 }, structure, cell, 9), null);
});

test("hierarchies without a total restrict the answer until they have a place", () => {
  const elsewhere = q.place(q.remove(first, "[Calendar]"), "[Store]", "[Store].[Country]", "rows");
  assert.deepEqual(defaultSlicers(elsewhere, structure), [{ hierarchy: "[Calendar]", member: "[Calendar].[2025]" }]);
  assert.deepEqual(defaultSlicers(first, structure), []);
});

test("an address holds the whole question", () => {
  let asked = q.toggleExpanded(nested, "[Store]", "[Store].[Dänemark & Co]");
  asked = q.setMembers(asked, "[Customer]", "[Customer].[Customer]", ['[Customer].["#%]']);
  asked = { ...asked, top: 10, totals: true, hideEmpty: false, chart: "line", page: 3 };
  asked = { ...asked, sort: { column: ["[Measures].[Revenue]"], descending: false } };
  assert.deepEqual(decodeQuestion(`#${encodeQuestion(asked)}`), asked);
  assert.deepEqual(decodeQuestion(encodeQuestion({ ...first, mdx: "SELECT\n1" })), {
    ...first,
    mdx: "SELECT\n1",
  });
});

test("an address that makes no sense is left out in parts, or as a whole", () => {
  assert.equal(decodeQuestion("#x=1"), null);
  const odd = decodeQuestion('#database=D&cube=C&rows={"a":1}&rows=nonsense&chart=pie&top=-5&page=x&descending=[1]');
  assert.deepEqual(odd, { ...first, database: "D", cube: "C", measures: [], rows: [] });
  const fitted = q.fitted(
    { ...nested, measures: ["[Measures].[Gone]"], sort: { column: ["[Gone]"], descending: true } },
    structure,
  );
  assert.deepEqual([fitted.measures, fitted.sort], [["[Measures].[Revenue]"], null]);
});

test("a hierarchy has one place; the last measure stays", () => {
  const moved = q.place(nested, "[Store]", "[Store].[Country]", "columns");
  assert.deepEqual([moved.rows.length, moved.columns.length], [1, 1]);
  assert.deepEqual(q.swap(moved).rows, moved.columns);
  const all = structure.measures.map((measure) => measure.name);
  assert.equal(q.toggleMeasure(first, all[0] ?? "", all), first);
  assert.deepEqual(q.toggleMeasure(first, all[1] ?? "", all).measures, all);
});

test("a column sorts downwards, upwards, and not at all", () => {
  const down = q.sortBy(first, ["a"]);
  const up = q.sortBy(down, ["a"]);
  assert.deepEqual([down.sort?.descending, up.sort?.descending, q.sortBy(up, ["a"]).sort], [true, false, null]);
});

test("tables for spreadsheets quote what is needed, and hold no formulas", () => {
  const member = (caption: string): Member => ({
    hierarchy: "",
    name: caption,
    caption,
    level: "",
    depth: 0,
    hasChildren: false,
    parent: "",
  });
  const grid = gridOf({
    axes: [
      { hierarchies: ["M"], tuples: [[member("A,B")], [member("=1+1")]] },
      { hierarchies: ["R"], tuples: [[member('say "x"')]] },
    ],
    cells: new Map([
      [0, { value: 1234.5, formatted: "1,234.50" }],
      [1, { value: "", formatted: "", error: "no" }],
    ]),
  });
  const texts = tableTexts(grid);
  assert.equal(csv(texts), '\ufeff,"A,B",\'=1+1\r\n"say ""x""",1234.5,\r\n');
  assert.equal(tabbed(texts), '\tA,B\t\'=1+1\nsay "x"\t1234.5\t');
});

test("what XML cannot hold does not get into a request", () => {
  assert.equal(escapeXml("a<b>&\u0001\r"), "a&lt;b&gt;&amp;\ufffd&#13;");
});
