// That everybody can use the page, on every screen; what it tells when something is wrong; pictures of it.

import assert from "node:assert/strict";
import { mkdirSync, readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { after, test } from "node:test";
import type { Page } from "puppeteer-core";
import { ADDRESS, click, closeBrowser, openPage, PICTURES, type Look } from "./browser.ts";

after(closeBrowser);

const AXE = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const XMLA = readFileSync("built/xmla.js", "utf8");
const YEARS = ["[Calendar].[2025]", "[Calendar].[2026]"];

function address(parts: [string, unknown][]): string {
  const text = (value: unknown) => (typeof value === "string" ? value : JSON.stringify(value));
  return `#${new URLSearchParams(parts.map(([name, value]) => [name, text(value)])).toString()}`;
}

const TABLE = address([
  ["database", "Harbour Retail"],
  ["cube", "Sales"],
  ["measure", "[Measures].[Revenue]"],
  ["measure", "[Measures].[Discount Rate]"],
  ["rows", ["[Store]", "[Store].[Country]"]],
  ["rows", ["[Product]", "[Product].[Department]", [], ["[Product].[Shoes]"]]],
  ["columns", ["[Calendar]", "[Calendar].[Year]"]],
  ["totals", "shown"],
  ["descending", ["[Calendar].[2026]", "[Measures].[Revenue]"]],
]);
const CHART = address([
  ["database", "Harbour Retail"],
  ["cube", "Sales"],
  ["measure", "[Measures].[Revenue]"],
  ["rows", ["[Product]", "[Product].[Product]"]],
  ["columns", ["[Store]", "[Store].[Country]"]],
  ["filter", ["[Calendar]", "[Calendar].[Year]", YEARS]],
  ["top", "10"],
  ["chart", "stacked"],
]);

async function violations(page: Page): Promise<string[]> {
  await page.evaluate(AXE);
  return page.evaluate(async () => {
    const { axe } = window as unknown as { axe: typeof import("axe-core") };
    const tags = ["wcag2a", "wcag2aa", "wcag21a", "wcag21aa", "wcag22aa", "best-practice"];
    const results = await axe.run({ runOnly: { type: "tag", values: tags } });
    return results.violations.map(
      ({ id, nodes }) => `${id}: ${nodes.map((node) => node.html.slice(0, 160)).join(" | ")}`,
    );
  });
}

for (const dark of [false, true]) {
  for (const width of [320, 1280]) {
    const look: Look = { width, height: 800, dark };
    test(`nothing stands in anybody's way, ${dark ? "dark" : "light"}, ${width} pixels wide`, async () => {
      for (const hash of ["", TABLE, CHART]) {
        const page = await openPage(hash, look);
        assert.deepEqual(await violations(page), [], hash);
        const wide = await page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
        assert.ok(wide <= 0, "the page itself scrolls sideways");
        await page.close();
      }
      const page = await openPage(TABLE, look);
      await page.$$eval("details", (all) => all.forEach((one) => (one.open = true)));
      await page.click('[data-key="[Customer].[City]"]');
      await page.waitForSelector(".menu");
      assert.deepEqual(await violations(page), [], "a menu");
      await page.keyboard.press("Escape");
      await page.click('[data-key="chip [Store]"]');
      await click(page, ".menu", "Choose members…");
      await page.waitForSelector(".member-list li");
      assert.deepEqual(await violations(page), [], "members");
      await page.keyboard.press("Escape");
      await page.$eval("regular-table td", (cell) => cell.click());
      await page.waitForSelector("dialog .rows td");
      assert.deepEqual(await violations(page), [], "rows behind a cell");
      await page.close();
    });
  }
}

test("every control is reached by the keyboard", async () => {
  const page = await openPage(TABLE);
  const reached = new Set<string>();
  for (let step = 0; step < 150; ++step) {
    await page.keyboard.press("Tab");
    const key = await page.evaluate(() => {
      const one = document.activeElement as HTMLElement;
      return one.dataset["key"] ?? one.getAttribute("aria-label") ?? one.id ?? one.tagName;
    });
    reached.add(key);
  }
  const all = await page.$$eval("[data-key]:not(:disabled)", (found) =>
    found.map((one) => (one as HTMLElement).dataset["key"]),
  );
  assert.deepEqual(
    all.filter((key) => !reached.has(key ?? "")),
    [],
  );
});

test("the answer to the page's own address forbids everything that is not its own", async () => {
  const response = await fetch(ADDRESS);
  assert.equal(
    response.headers.get("content-security-policy"),
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; " +
      "frame-ancestors 'none'; base-uri 'none'; form-action 'none'",
  );
  assert.equal(response.headers.get("x-content-type-options"), "nosniff");
  assert.equal(response.headers.get("referrer-policy"), "no-referrer");
  assert.equal((await fetch(`${ADDRESS}other`)).status, 404);
});

/** Answers one kind of request in the engine's stead. */
async function answering(page: Page, type: string, body: string): Promise<void> {
  await page.setRequestInterception(true);
  page.on("request", (request) => {
    const answer = { contentType: "text/xml", body: `<Envelope><Body>${body}</Body></Envelope>` };
    void (request.postData()?.includes(type) ? request.respond(answer) : request.continue());
  });
  await page.reload();
  await page.waitForSelector(".cube");
}

test("a cube that cannot be served says why", async () => {
  const page = await openPage();
  const row =
    "<CATALOG_NAME>Harbour Retail</CATALOG_NAME><CUBE_NAME>Returns</CUBE_NAME><REASON>there is no table &lt;returns&gt;</REASON>";
  await answering(page, "KCD_UNSERVED_CUBES", `<root><row>${row}</row></root>`);
  assert.equal(await page.$eval(".unserved", (one) => one.textContent), "Returnsthere is no table <returns>");
});

test("a database whose cubes cannot be listed says why", async () => {
  const page = await openPage();
  const reason = "The Mondrian XML: Mondrian Error:Internal error: broken";
  await answering(page, "<CATALOG_NAME>Large", `<Fault><detail><desc>${reason}</desc></detail></Fault>`);
  assert.equal(await page.$eval(".database > .reason", (one) => one.textContent), "Cannot be served: broken");
  assert.equal((await page.$$(".cube")).length, 4);
});

test("a cube that is gone is no silence", async () => {
  const page = await openPage("#database=Harbour+Retail&cube=Gone");
  assert.match((await page.$eval("#fault", (one) => one.textContent)) ?? "", /there is no cube 'Gone'/);
});

test("answers are read: members, cells, cells that cannot be computed, faults and columns' names", async () => {
  const page = await openPage();
  await page.evaluate(XMLA.replace("var xmla", "window.xmla"));
  const read = await page.evaluate(() => {
    const { xmla } = window as unknown as { xmla: typeof import("../../page/src/xmla.ts") };
    const parse = (text: string) => new DOMParser().parseFromString(text, "text/xml");
    const member =
      "<Member Hierarchy='H'><UName>[H].[a]</UName><Caption>a</Caption><LName>[H].[L]</LName><LNum>1</LNum><DisplayInfo>131074</DisplayInfo></Member>";
    const axes = `<Axis name="Axis0"><Tuples><Tuple>${member}</Tuple></Tuples></Axis><Axis name="SlicerAxis"><Tuples><Tuple/></Tuples></Axis>`;
    const cells =
      "<Cell CellOrdinal='0'><Value>1.5E3</Value><FmtValue>1,500</FmtValue></Cell><Cell CellOrdinal='1'><Value>no</Value><FmtValue>#ERR: no</FmtValue></Cell>" +
      "<Cell CellOrdinal='2'><Value/></Cell>";
    const dataset = xmla.readDataset(parse(`<root><Axes>${axes}</Axes><CellData>${cells}</CellData></root>`));
    return {
      members: dataset.axes.map((axis) => axis.tuples),
      cells: [...dataset.cells],
      fault: xmla.faultOf(parse("<E><Fault><faultstring>why</faultstring></Fault></E>")),
      rows: xmla.readRows(parse("<root><row><a_x0020_b>1</a_x0020_b></row></root>")),
    };
  });
  assert.deepEqual(read, {
    members: [
      [
        [
          {
            hierarchy: "H",
            name: "[H].[a]",
            caption: "a",
            level: "[H].[L]",
            depth: 1,
            hasChildren: true,
            parent: "",
          },
        ],
      ],
    ],
    cells: [
      [0, { value: 1500, formatted: "1,500" }],
      [1, { value: "no", formatted: "#ERR: no", error: "no" }],
    ],
    fault: "why",
    rows: [{ "a b": "1" }],
  });
});

test("on paper stands the whole table", async () => {
  const page = await openPage(TABLE, { height: 500 });
  await page.evaluate(() => dispatchEvent(new Event("beforeprint")));
  await page.emulateMediaType("print");
  const rows = Number(((await page.$eval("#status", (one) => one.textContent)) ?? "").match(/^(\d+) rows/)?.[1]);
  assert.equal((await page.$$("#print tbody tr")).length, rows);
  assert.equal(await page.$eval(".side", (one) => getComputedStyle(one).display), "none");
});

/** Once nothing moves or fades any more. */
async function photograph(page: Page, name: string): Promise<void> {
  await page.evaluate(async () => {
    await Promise.all(document.getAnimations().map((one) => one.finished));
    // Only the tests have it.
    document.querySelectorAll(".database + .database").forEach((large) => large.remove());
  });
  await page.screenshot({ path: `${PICTURES}/${name}.png` });
}

test("pictures are taken", async () => {
  mkdirSync(PICTURES, { recursive: true });
  const pictures: [string, string, Look][] = [
    ["page-table", TABLE, { width: 1280, height: 800 }],
    ["page-chart-dark", CHART, { width: 1280, height: 800, dark: true }],
    ["page-320", TABLE, { width: 320, height: 800 }],
    ["page-320-dark", CHART, { width: 320, height: 1300, dark: true }],
    ["page-2560", CHART, { width: 2560, height: 1300 }],
  ];
  for (const [name, hash, look] of pictures) {
    const page = await openPage(hash, look);
    if (look.width === 320) {
      await page.$$eval("details.panel", (all) => all.forEach((one) => (one.open = false)));
    }
    await photograph(page, name);
    await page.close();
  }
  const page = await openPage(TABLE);
  await page.click('[data-key="chip [Store]"]');
  await click(page, ".menu", "Choose members…");
  await page.waitForSelector(".member-list li");
  await photograph(page, "page-members");
  await page.keyboard.press("Escape");
  await page.click("regular-table tbody td");
  await page.waitForSelector("dialog .rows td");
  await photograph(page, "page-rows");
});
