// A cube's measures and dimensions, from which the table is put together.

import { fill, h, openMenu } from "./dom.ts";
import type { Hierarchy, Level, Structure } from "./metadata.ts";
import { AREAS, findPlaced, remove, place, toggleMeasure, type Area, type Question } from "./question.ts";

export const AREA_NAMES: Record<Area, string> = { rows: "Rows", columns: "Columns", filter: "Filter" };

export interface FieldUse {
  ask(question: Question): void;
  choose(hierarchy: string): void;
}

/** What is dragged: a hierarchy by one of its levels. */
const DRAGGED = "application/x-level";

export function dragLevel(element: HTMLElement, hierarchy: string, level: string): void {
  element.draggable = true;
  element.addEventListener("dragstart", (event) => {
    event.dataTransfer?.setData(DRAGGED, JSON.stringify([hierarchy, level]));
    event.dataTransfer?.setData("text/plain", level);
  });
}

export function droppedLevel(event: DragEvent): { hierarchy: string; level: string } | null {
  const text = event.dataTransfer?.getData(DRAGGED);
  if (!text) {
    return null;
  }
  const [hierarchy, level] = JSON.parse(text) as [string, string];
  return { hierarchy, level };
}

export function isLevelDrag(event: DragEvent): boolean {
  return event.dataTransfer?.types.includes(DRAGGED) ?? false;
}

export function showFields(panel: HTMLElement, structure: Structure, question: Question, use: FieldUse): void {
  const all = structure.measures.map((measure) => measure.name);
  const measures = structure.measures.map((measure) => {
    const checked = question.measures.includes(measure.name);
    const change = () => use.ask(toggleMeasure(question, measure.name, all));
    const last = checked && question.measures.length === 1;
    const box = h("input", { type: "checkbox", "data-key": measure.name, onchange: change });
    box.checked = checked;
    box.disabled = last;
    const title = last ? "A table needs one measure" : measure.description;
    return h("li", {}, h("label", { title }, box, h("span", {}, measure.caption)));
  });
  const dimensions = structure.dimensions.map((dimension) =>
    h(
      "li",
      { class: "dimension" },
      h("span", { class: "name", title: dimension.description }, dimension.caption),
      ...dimension.hierarchies.flatMap((hierarchy) => [
        dimension.hierarchies.length > 1 && h("span", { class: "hierarchy" }, hierarchy.caption),
        h("ul", {}, ...hierarchy.levels.map((level) => showLevel(hierarchy, level, question, use))),
      ]),
    ),
  );
  fill(
    panel,
    h("h3", {}, "Measures"),
    h("ul", { class: "measures" }, ...measures),
    h("h3", {}, "Dimensions"),
    h("ul", { class: "dimensions" }, ...dimensions),
  );
}

function showLevel(hierarchy: Hierarchy, level: Level, question: Question, use: FieldUse): HTMLElement {
  const found = findPlaced(question, hierarchy.name);
  const here = found?.it.level === level.name ? found.area : null;
  const button = h(
    "button",
    {
      type: "button",
      class: "level",
      "aria-haspopup": "menu",
      "data-key": level.name,
      title: "Drag to rows, columns or filter, or click",
    },
    h("span", {}, level.caption),
    here !== null && h("span", { class: "kind" }, AREA_NAMES[here].toLowerCase()),
  );
  button.addEventListener("click", () =>
    openMenu(button, `Place of ${level.caption}`, [
      AREAS.map((area) => ({
        text: area === "filter" ? "Filter…" : AREA_NAMES[area],
        chosen: here === area,
        act: () => putLevel(question, hierarchy.name, level.name, area, use),
      })),
      here === null ? [] : [{ text: "Remove", act: () => use.ask(remove(question, hierarchy.name)) }],
    ]),
  );
  dragLevel(button, hierarchy.name, level.name);
  return h("li", {}, button);
}

/** A filter means nothing before its members are chosen. */
export function putLevel(
  question: Question,
  hierarchy: string,
  level: string,
  area: Area,
  use: FieldUse,
  at?: number,
): void {
  const next = place(question, hierarchy, level, area, at);
  use.ask(next);
  if (area === "filter" && findPlaced(next, hierarchy)?.it.members.length === 0) {
    use.choose(hierarchy);
  }
}
