// A Chromium of the tests' own, and what they do in it.

import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import puppeteer, { type Browser, type Page } from "puppeteer-core";

export const ADDRESS = process.env["PAGE_ADDRESS"] ?? "";
export const PICTURES = process.env["PAGE_SCREENSHOTS"] ?? ".";

/** Machines may be busy with other tests. */
const LONGEST_WAIT = 120_000;

let browser: Browser | null = null;
const faults: string[] = [];

export interface Look {
  width?: number;
  height?: number;
  dark?: boolean;
}

/** A fresh page at the end of an address. Whatever it reports as an error fails the test that closes it. */
export async function openPage(hash = "", { width = 1280, height = 800, dark = false }: Look = {}): Promise<Page> {
  browser ??= await puppeteer.launch({
    protocolTimeout: LONGEST_WAIT,
    timeout: LONGEST_WAIT,
    executablePath: process.env["CHROMIUM"] ?? "/usr/bin/chromium",
    // Root and users of containers have no sandbox; everything that is shown is the tests' own.
    args: ["--no-sandbox"],
  });
  const page = await browser.newPage();
  page.setDefaultTimeout(LONGEST_WAIT);
  page.on("console", (message) => message.type() === "error" && faults.push(message.text()));
  page.on("pageerror", (error) => faults.push(String(error)));
  await page.setViewport({ width, height });
  await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: dark ? "dark" : "light" }]);
  await page.goto(ADDRESS + hash);
  await page.waitForSelector(hash ? "body[data-asked]" : ".cube");
  return page;
}

export async function closeBrowser(): Promise<void> {
  await browser?.close();
  assert.deepEqual(faults, [], "the browser reported errors, or breaches of the content security policy");
}

/** Does something that asks, and waits for the answer. */
export async function asking(page: Page, act: () => Promise<unknown>): Promise<void> {
  const count = () => document.body.dataset["asked"] ?? "0";
  const before = await page.evaluate(count);
  await act();
  await page.waitForFunction((old) => (document.body.dataset["asked"] ?? "0") !== old, {}, before);
}

/** Clicks what has a text, within what a selector finds. */
export async function click(page: Page, selector: string, text: string): Promise<void> {
  const found = await page.waitForSelector(`${selector} ::-p-text(${text})`, { visible: true });
  await found?.click();
}

export async function openCube(page: Page, name: string): Promise<void> {
  await asking(page, () => click(page, "#catalogue", name));
}

/** Puts a level somewhere by the menu of the list of fields. */
export async function put(page: Page, level: string, area: string): Promise<void> {
  await page.click(`[data-key="${level}"]`);
  await asking(page, () => click(page, ".menu", area));
}

/** The texts of the table's lines. */
export function lines(page: Page, part: "thead" | "tbody" = "tbody"): Promise<string[][]> {
  return page.$$eval(`regular-table ${part} tr`, (rows) =>
    rows.map((row) => [...row.children].map((cell) => cell.textContent ?? "")),
  );
}

/** What the warehouse says: lines of columns. */
export function sql(text: string, database = "warehouse"): string[][] {
  const options = ["--no-psqlrc", "--tuples-only", "--no-align", "--field-separator=\t", `--dbname=${database}`];
  const answer = execFileSync("psql", [...options, `--command=${text}`], { encoding: "utf8" });
  return answer
    .split("\n")
    .filter((line) => line !== "")
    .map((line) => line.split("\t"));
}

/** Each sale with everything that is known about it, as the cube counts them. */
export const SALES = `(
  SELECT s.*, c.year, c.quarter, c.month, p.product_name, g.group_name, g.department, t.store_name,
         r.country AS store_country, k.country AS customer_country, k.city, k.customer_name
  FROM (SELECT * FROM sales WHERE day_id > 260000 UNION ALL SELECT * FROM sales_2025 WHERE day_id < 260000) s
  JOIN calendar c USING (day_id) JOIN product p USING (product_id) JOIN product_group g USING (product_group_id)
  JOIN store t USING (store_id) JOIN region r USING (region_id) JOIN customer k USING (customer_id)) AS sale`;

/** A sum as the cube writes it. */
export function money(expression: string): string {
  return `to_char(${expression}, 'FM999,999,990.00')`;
}
