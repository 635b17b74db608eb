// Every way of asking, in a browser; figures are those of plain SQL over the warehouse.

import assert from "node:assert/strict";
import { after, test } from "node:test";
import { asking, click, closeBrowser, lines, money, openCube, openPage, put, SALES, sql } from "./browser.ts";

after(closeBrowser);

const revenue = money("sum(amount)");
const YEARS = 'rows=["[Calendar]","[Calendar].[Year]"]';
const BOTH_YEARS = 'filter=["[Calendar]","[Calendar].[Year]",["[Calendar].[2025]","[Calendar].[2026]"]]';
const SALES_CUBE = "#database=Harbour+Retail&cube=Sales&measure=[Measures].[Revenue]";

test("databases and cubes are listed, and one click shows a first table", async () => {
  const page = await openPage();
  const cubes = await page.$$eval(".cube span:first-child", (all) => all.map((one) => one.textContent));
  assert.deepEqual(cubes, ["Payroll", "Sales", "Stock", "Trade", "Items"]);
  await openCube(page, "Sales");
  assert.deepEqual(await lines(page), sql(`SELECT year, ${revenue} FROM ${SALES} GROUP BY 1 ORDER BY 1`));
  assert.equal(await page.title(), "Sales · Harbour Retail");
});

test("every cube shows a first table", async () => {
  const page = await openPage();
  for (const cube of ["Payroll", "Stock", "Trade", "Items"]) {
    await openCube(page, cube);
    assert.equal(await page.$eval("#fault", (one) => one.textContent), "", cube);
    assert.ok((await lines(page)).length > 0, cube);
  }
});

test("levels are placed by menus and the keyboard, measures switched on and off", async () => {
  const page = await openPage(`${SALES_CUBE}&${YEARS}`);
  await page.focus('[data-key="[Store].[Country]"]');
  await page.keyboard.press("Enter");
  await page.waitForSelector(".menu button:focus");
  await page.keyboard.press("ArrowDown");
  await asking(page, () => page.keyboard.press("Enter"));
  assert.deepEqual(
    await lines(page),
    sql(
      `SELECT year, ${["Denmark", "France", "Germany"]
        .map((country) => `coalesce(${money(`sum(amount) FILTER (WHERE store_country = '${country}')`)}, '')`)
        .join(", ")} FROM ${SALES} GROUP BY 1 ORDER BY 1`,
    ),
  );
  assert.match(page.url(), /columns=/);
  await page.focus('[data-key="[Measures].[Quantity]"]');
  await asking(page, () => page.keyboard.press("Space"));
  assert.deepEqual((await lines(page, "thead"))[1]?.slice(-2), ["Quantity", "Revenue"]);
  assert.equal(
    await page.evaluate(() => (document.activeElement as HTMLElement).dataset["key"]),
    "[Measures].[Quantity]",
  );
  await asking(page, () => page.click('[data-key="[Measures].[Revenue]"]'));
  assert.deepEqual(
    (await lines(page))[0]?.[1],
    sql(`SELECT sum(quantity) FROM ${SALES} WHERE year = 2025 AND store_country = 'Denmark'`)[0]?.[0],
  );
});

test("levels are dragged onto rows, columns and filter", async () => {
  const page = await openPage(`${SALES_CUBE}&${YEARS}`);
  const drag = async (from: string, to: string) => {
    const source = await page.waitForSelector(from);
    await source?.scrollIntoView();
    const target = await page.$(to);
    assert.ok(source && target);
    await source.drag(target);
    await target.drop(source);
  };
  await asking(page, () => drag('[data-key="[Product].[Department]"]', '[data-area="rows"]'));
  assert.deepEqual((await lines(page)).length, sql(`SELECT DISTINCT year, department FROM ${SALES}`).length);
  await asking(page, () => drag('[data-key="chip [Calendar]"]', '[data-area="columns"]'));
  assert.deepEqual((await lines(page, "thead"))[0]?.slice(1), ["2025", "2026"]);
  await asking(page, () => drag('[data-key="[Store].[Country]"]', '[data-area="filter"]'));
  await page.waitForSelector("dialog[open]");
});

test("members expand and collapse in place", async () => {
  const page = await openPage(`${SALES_CUBE}&rows=["[Product]","[Product].[Department]"]&${BOTH_YEARS}`);
  const departments = sql(`SELECT department, ${revenue} FROM ${SALES} GROUP BY 1 ORDER BY 1`);
  assert.deepEqual(await lines(page), departments);
  await asking(page, () => page.click('[aria-label="Expand Shoes"]'));
  const groups = sql(`SELECT group_name, ${revenue} FROM ${SALES} WHERE department = 'Shoes' GROUP BY 1 ORDER BY 1`);
  const at = departments.findIndex(([name]) => name === "Shoes") + 1;
  assert.deepEqual(await lines(page), [...departments.slice(0, at), ...groups, ...departments.slice(at)]);
  await asking(page, () => page.click('[aria-label="Expand Boots"]'));
  await asking(page, () => page.click('[aria-label="Collapse Shoes"]'));
  assert.deepEqual(await lines(page), departments);
  assert.equal(await page.evaluate(() => document.activeElement?.getAttribute("aria-label")), "Expand Shoes");
});

test("rows are sorted by a column, down and up", async () => {
  const page = await openPage(`${SALES_CUBE}&rows=["[Product]","[Product].[Group]"]&${BOTH_YEARS}`);
  const ordered = (order: string) =>
    sql(`SELECT group_name, ${revenue} FROM ${SALES} GROUP BY department, 1 ORDER BY sum(amount) ${order}`);
  const flat = `SELECT group_name, ${revenue} FROM ${SALES} GROUP BY department, 1`;
  assert.deepEqual((await lines(page)).sort(), sql(flat).sort());
  const sort = () => page.click('[aria-label^="Sort by Revenue"]');
  await asking(page, sort);
  assert.deepEqual(await lines(page), ordered("DESC"));
  await asking(page, sort);
  assert.deepEqual(await lines(page), ordered("ASC"));
  await asking(page, () => page.click('[aria-label="Expand Boots"]'));
  const boots = sql(
    `SELECT product_name, ${revenue} FROM ${SALES} WHERE group_name = 'Boots' GROUP BY 1 ORDER BY sum(amount)`,
  );
  const groups = ordered("ASC");
  groups.splice(groups.findIndex(([name]) => name === "Boots") + 1, 0, ...boots);
  assert.deepEqual(await lines(page), groups);
});

test("nested groups are sorted by their totals and within themselves, with subtotals", async () => {
  const rows = 'rows=["[Store]","[Store].[Country]"]&rows=["[Product]","[Product].[Department]"]';
  const page = await openPage(`${SALES_CUBE}&${rows}&${BOTH_YEARS}&totals=shown`);
  await asking(page, () => page.click('[aria-label^="Sort by Revenue"]'));
  const expected = sql(`
    WITH figure AS (SELECT store_country c, department d, sum(amount) a FROM ${SALES} GROUP BY ROLLUP (1, 2))
    SELECT coalesce(d, 'Total'), ${money("f.a")} FROM figure f
    JOIN (SELECT c, a FROM figure WHERE d IS NULL) g ON g.c IS NOT DISTINCT FROM f.c
    ORDER BY f.c IS NULL, g.a DESC, d IS NULL, f.a DESC`);
  assert.deepEqual(
    (await lines(page)).map((line) => line.slice(-2)),
    expected,
  );
});

test("top ten keeps the ten with the most", async () => {
  const page = await openPage(`${SALES_CUBE}&rows=["[Product]","[Product].[Product]"]&${BOTH_YEARS}`);
  await asking(page, () => click(page, "#toolbar", "Top ten"));
  assert.deepEqual(
    await lines(page),
    sql(`SELECT product_name, ${revenue} FROM ${SALES} GROUP BY 1 ORDER BY sum(amount) DESC LIMIT 10`),
  );
});

test("what is empty is hidden, or shown", async () => {
  const page = await openPage(`${SALES_CUBE}&${YEARS}`);
  assert.equal((await lines(page)).length, 2);
  await asking(page, () => click(page, "#toolbar", "Hide empty"));
  assert.deepEqual((await lines(page)).length, sql("SELECT DISTINCT year FROM calendar").length);
});

test("totals of columns and of calculated measures are right", async () => {
  const page = await openPage(
    `${SALES_CUBE}&measure=[Measures].[Discount+Rate]&${YEARS}&columns=["[Store]","[Store].[Country]"]`,
  );
  await asking(page, () => click(page, "#toolbar", "Totals"));
  const rate = "to_char(100 * sum(list_amount - amount) / sum(list_amount), 'FM990.0') || '%'";
  assert.deepEqual(
    (await lines(page)).map((line) => [line[0], ...line.slice(-2)]),
    [
      ...sql(`SELECT year, ${revenue}, ${rate} FROM ${SALES} GROUP BY 1 ORDER BY 1`),
      ...sql(`SELECT 'Total', ${revenue}, ${rate} FROM ${SALES}`),
    ],
  );
});

test("a filter is chosen by searching for members", async () => {
  const page = await openPage(`${SALES_CUBE}&${YEARS}`);
  await put(page, "[Customer].[Customer]", "Filter…");
  await page.waitForSelector("#member-search");
  await page.type("#member-search", "an");
  await page.waitForFunction(() => document.querySelectorAll(".member-list li").length === 2);
  await click(page, ".member-list", "Brandt");
  await asking(page, () => click(page, "dialog .buttons", "Apply"));
  assert.deepEqual(
    await lines(page),
    sql(`SELECT year, ${revenue} FROM ${SALES} WHERE customer_name = 'Brandt' GROUP BY 1 ORDER BY 1`),
  );
  await asking(page, () => page.click('[aria-label="Remove Customer"]'));
  assert.deepEqual(await lines(page), sql(`SELECT year, ${revenue} FROM ${SALES} GROUP BY 1 ORDER BY 1`));
});

test("a dimension without a total says which member counts, and lets others be chosen", async () => {
  const page = await openPage(`${SALES_CUBE}&rows=["[Store]","[Store].[Country]"]`);
  assert.deepEqual(
    await lines(page),
    sql(`SELECT store_country, ${revenue} FROM ${SALES} WHERE year = 2025 GROUP BY 1 ORDER BY 1`),
  );
  const chip = await page.waitForSelector(".chip.default ::-p-text(2025 only)");
  await asking(page, async () => chip?.click());
  await click(page, ".member-list", "2026");
  await asking(page, () => click(page, "dialog .buttons", "Apply"));
  assert.deepEqual(
    await lines(page),
    sql(`SELECT store_country, ${revenue} FROM ${SALES} WHERE year = 2026 GROUP BY 1 ORDER BY 1`),
  );
});

test("chips move, change their level and swap", async () => {
  const page = await openPage(`${SALES_CUBE}&${YEARS}&rows=["[Store]","[Store].[Country]"]`);
  const choose = async (chip: string, text: string) => {
    await page.click(`[data-key="chip ${chip}"]`);
    await asking(page, () => click(page, ".menu", text));
  };
  await choose("[Store]", "Move forward");
  assert.equal((await lines(page))[0]?.[0], "Denmark");
  await choose("[Store]", "Move to columns");
  await choose("[Calendar]", "Quarter");
  assert.deepEqual((await lines(page)).length, sql(`SELECT DISTINCT year, quarter FROM ${SALES}`).length);
  await asking(page, () => click(page, "#toolbar", "Swap"));
  assert.deepEqual(
    (await lines(page)).map((line) => line[0]),
    ["Denmark", "France", "Germany"],
  );
});

test("the rows behind a cell are shown, also by the keyboard", async () => {
  const page = await openPage(
    `${SALES_CUBE}&rows=["[Store]","[Store].[Country]"]&columns=["[Calendar]","[Calendar].[Year]"]&totals=shown`,
  );
  const behind = async () => {
    await page.waitForSelector("dialog .rows tbody tr");
    const amounts = await page.$$eval("dialog .rows tbody tr", (rows) =>
      rows.map((row) => Number(row.firstElementChild?.textContent)),
    );
    await page.keyboard.press("Escape");
    return amounts.sort((a, b) => a - b);
  };
  const amounts = (where: string) =>
    sql(`SELECT amount FROM ${SALES} ${where} ORDER BY 1`).map(([amount]) => Number(amount));
  await page.click("regular-table tbody tr:nth-child(3) td:nth-of-type(2)");
  assert.deepEqual(await behind(), amounts("WHERE store_country = 'Germany' AND year = 2026"));
  await page.focus("regular-table");
  await page.keyboard.press("ArrowDown");
  assert.match((await page.$eval("#spoken", (one) => one.textContent)) ?? "", /^Denmark, 2025 · Revenue: [\d,.]+$/);
  await page.keyboard.press("End");
  await page.keyboard.press("Enter");
  assert.deepEqual(await behind(), amounts(""));
});

test("the MDX is shown, can be edited, and a mistake is explained", async () => {
  const page = await openPage(`${SALES_CUBE}&${YEARS}`);
  await page.click("#mdx summary");
  const text = () => page.$eval("#mdx-text", (area) => (area as HTMLTextAreaElement).value);
  assert.match(await text(), /NON EMPTY \[Calendar\]\.\[Year\]\.Members ON ROWS/);
  const write = async (mdx: string) => {
    await page.$eval("#mdx-text", (area) => ((area as HTMLTextAreaElement).value = ""));
    await page.type("#mdx-text", mdx);
    await asking(page, () => page.click("#mdx-run"));
  };
  await write("SELECT {[Measures].[Cost]} ON 0, {[Store].[Germany]} ON 1 FROM [Sales] WHERE ([Calendar].[2026])");
  assert.deepEqual(
    await lines(page),
    sql(`SELECT 'Germany', ${money("sum(cost)")} FROM ${SALES} WHERE store_country = 'Germany' AND year = 2026`),
  );
  await write("SELECT {[Measures].[Nothing]} ON 0 FROM [Sales]");
  assert.match(
    (await page.$eval("#fault", (one) => one.textContent)) ?? "",
    /'\[Measures\]\.\[Nothing\]' not found in cube 'Sales'/,
  );
  await asking(page, () => page.click("#mdx-reset"));
  assert.equal((await lines(page)).length, 2);
});

test("an address brings the whole question back, and so does going back", async () => {
  const page = await openPage(`${SALES_CUBE}&${YEARS}`);
  await put(page, "[Store].[Country]", "Columns");
  await asking(page, () => click(page, "#toolbar", "Totals"));
  const before = await lines(page);
  const colleague = await openPage(new URL(page.url()).hash);
  assert.deepEqual(await lines(colleague), before);
  await page.bringToFront();
  await asking(page, () => page.goBack());
  await asking(page, () => page.goBack());
  assert.deepEqual((await lines(page))[0]?.length, 2);
});

test("the table is kept as CSV and copied for spreadsheets", async () => {
  const page = await openPage(`${SALES_CUBE}&${YEARS}`);
  await page.evaluate(() => {
    URL.createObjectURL = (blob) => {
      void (blob as Blob).text().then((text) => (document.body.dataset["kept"] = text));
      return "#";
    };
    navigator.clipboard.writeText = (text) => {
      document.body.dataset["copied"] = text;
      return Promise.resolve();
    };
    HTMLAnchorElement.prototype.click = () => undefined;
  });
  await click(page, "#toolbar", "CSV");
  await click(page, "#toolbar", "Copy");
  await page.waitForSelector("body[data-kept][data-copied]");
  const years = sql(`SELECT year, sum(amount) FROM ${SALES} GROUP BY 1 ORDER BY 1`);
  const numbers = years.map(([year, amount]) => [year, String(Number(amount))]);
  const { kept, copied } = await page.evaluate(() => ({ ...document.body.dataset }));
  assert.equal(kept, `,Revenue\r\n${numbers.map((line) => `${line.join(",")}\r\n`).join("")}`);
  assert.equal(copied, `\tRevenue\n${numbers.map((line) => line.join("\t")).join("\n")}`);
});

test("charts of the answer stand beside the table", async () => {
  const page = await openPage(`${SALES_CUBE}&${YEARS}&columns=["[Store]","[Store].[Country]"]`);
  for (const kind of ["Line", "Bars", "Stacked"]) {
    await asking(page, () => click(page, "#toolbar", kind));
    const label = await page.$eval("#chart", (canvas) => canvas.getAttribute("aria-label"));
    assert.match(label ?? "", /chart of Denmark, France, Germany: 2 points/);
    const drawn = await page.$eval("#chart", (canvas) => {
      const { width, height } = canvas as HTMLCanvasElement;
      const pixels = (canvas as HTMLCanvasElement).getContext("2d")?.getImageData(0, 0, width, height).data ?? [];
      return new Set([...pixels].filter((_, at) => at % 4 === 0)).size;
    });
    assert.ok(drawn > 3, `${kind} shows colours`);
  }
  await asking(page, () => page.click('[data-key="chart none"]'));
  assert.equal(await page.$eval(".chart", (one) => getComputedStyle(one).display), "none");
});
