// The list of databases and cubes; with reasons where a cube cannot be served.

import { fill, h } from "./dom.ts";
import type { Cube, Database } from "./metadata.ts";
import type { Question } from "./question.ts";

export function showCatalogue(
  place: HTMLElement,
  databases: Database[],
  question: Question | null,
  open: (database: string, cube: string) => void,
): void {
  if (databases.length === 0) {
    fill(
      place,
      h(
        "p",
        { class: "note" },
        "Nothing is published here yet. An import into this server's directory shows up by itself.",
      ),
    );
    return;
  }
  fill(place, ...databases.map((database) => showDatabase(database, question, open)));
}

function showDatabase(
  database: Database,
  question: Question | null,
  open: (database: string, cube: string) => void,
): HTMLElement {
  const item = (cube: Cube) => {
    const current = question?.database === database.name && question.cube === cube.name;
    const button = h(
      "button",
      {
        type: "button",
        class: "cube",
        "aria-current": current ? "true" : null,
        "data-key": `cube ${database.name} ${cube.name}`,
        title: cube.description,
        onclick: () => open(database.name, cube.name),
      },
      h("span", {}, cube.name),
      cube.virtual && h("span", { class: "kind" }, "virtual"),
    );
    return h("li", {}, button);
  };
  const unserved = database.unserved.map(({ name, reason }) =>
    h(
      "li",
      { class: "unserved" },
      h("span", { class: "name" }, name || "The whole database"),
      h("span", { class: "reason" }, reason),
    ),
  );
  return h(
    "section",
    { class: "database" },
    h("h3", {}, database.name),
    h("ul", {}, ...database.cubes.map(item), ...unserved),
    database.fault !== undefined && h("p", { class: "reason" }, `Cannot be served: ${database.fault}`),
  );
}
