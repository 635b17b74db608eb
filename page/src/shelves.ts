// Rows, columns and filter: what lies where, to be moved by dragging or by a menu.

import { fill, h, openMenu, type Choice } from "./dom.ts";
import { AREA_NAMES, dragLevel, droppedLevel, isLevelDrag, putLevel, type FieldUse } from "./fields.ts";
import { defaultSlicers, lastName } from "./mdx.ts";
import { findHierarchy, type Hierarchy, type Structure } from "./metadata.ts";
import { AREAS, place, remove, type Area, type Placed, type Question } from "./question.ts";

export function showShelves(panel: HTMLElement, structure: Structure, question: Question, use: FieldUse): void {
  fill(panel, ...AREAS.map((area) => showShelf(area, structure, question, use)));
}

function showShelf(area: Area, structure: Structure, question: Question, use: FieldUse): HTMLElement {
  const chips: HTMLElement[] = question[area].map((it, at) => showChip(area, it, at, structure, question, use));
  if (area === "filter") {
    chips.push(...defaultSlicers(question, structure).map((one) => showDefault(one, structure, question, use)));
  }
  const empty = chips.length === 0 ? h("span", { class: "empty" }, "Drag a level here") : null;
  const list = chips.length > 0 ? h("ul", {}, ...chips.map((chip) => h("li", {}, chip))) : null;
  const shelf = h("div", { class: "shelf", "data-area": area }, h("h3", {}, AREA_NAMES[area]), list, empty);
  shelf.addEventListener("dragover", (event) => {
    if (isLevelDrag(event)) {
      event.preventDefault();
      shelf.classList.add("over");
    }
  });
  shelf.addEventListener("dragleave", () => shelf.classList.remove("over"));
  shelf.addEventListener("drop", (event) => {
    event.preventDefault();
    shelf.classList.remove("over");
    const level = droppedLevel(event);
    if (level) {
      putLevel(question, level.hierarchy, level.level, area, use, dropPlace(shelf, event));
    }
  });
  return shelf;
}

/** Before the first chip whose middle is to the right of the pointer. */
function dropPlace(shelf: HTMLElement, event: DragEvent): number {
  const chips = [...shelf.querySelectorAll(".chip:not(.default)")];
  const at = chips.findIndex((chip) => {
    const { left, width, bottom } = chip.getBoundingClientRect();
    return event.clientX < left + width / 2 && event.clientY < bottom;
  });
  return at < 0 ? chips.length : at;
}

function showChip(
  area: Area,
  it: Placed,
  at: number,
  structure: Structure,
  question: Question,
  use: FieldUse,
): HTMLElement {
  const hierarchy = findHierarchy(structure, it.hierarchy);
  const level = hierarchy?.levels.find((one) => one.name === it.level)?.caption ?? lastName(it.level);
  const caption = hierarchy?.caption ?? lastName(it.hierarchy);
  const names = it.members.map(lastName);
  const few = names.length > 2 ? `${names.length} members` : names.join(", ");
  const unset = area === "filter" && names.length === 0;
  const main = h(
    "button",
    { type: "button", class: "chip-main", "aria-haspopup": "menu", "data-key": `chip ${it.hierarchy}` },
    h("b", {}, caption),
    caption === level ? null : h("span", {}, level),
    names.length > 0 && h("span", { class: "members" }, few),
    unset && h("span", { class: "members" }, "all"),
  );
  main.addEventListener("click", () => openMenu(main, caption, chipChoices(area, it, at, hierarchy, question, use)));
  const away = () => use.ask(remove(question, it.hierarchy));
  const chip = h(
    "span",
    { class: "chip" },
    main,
    h("button", { type: "button", class: "chip-remove", "aria-label": `Remove ${caption}`, onclick: away }, "×"),
  );
  dragLevel(chip, it.hierarchy, it.level);
  return chip;
}

function chipChoices(
  area: Area,
  it: Placed,
  at: number,
  hierarchy: Hierarchy | undefined,
  question: Question,
  use: FieldUse,
): Choice[][] {
  const move = (to: Area, position?: number) => () => use.ask(place(question, it.hierarchy, it.level, to, position));
  const levels = (hierarchy?.levels ?? []).map((level) => ({
    text: level.caption,
    chosen: level.name === it.level,
    act: () => use.ask(place(question, it.hierarchy, level.name, area, at)),
  }));
  const areas = AREAS.filter((other) => other !== area).map((other) => ({
    text: `Move to ${AREA_NAMES[other].toLowerCase()}`,
    act: move(other),
  }));
  const order: Choice[] = [];
  if (at > 0) {
    order.push({ text: "Move forward", act: move(area, at - 1) });
  }
  if (at < question[area].length - 1) {
    order.push({ text: "Move back", act: move(area, at + 1) });
  }
  const choose = { text: "Choose members…", act: () => use.choose(it.hierarchy) };
  const away = { text: "Remove", act: () => use.ask(remove(question, it.hierarchy)) };
  return [[choose], levels.length > 1 ? levels : [], [...areas, ...order], [away]];
}

/** A hierarchy that restricts the answer although nobody placed it. */
function showDefault(
  one: { hierarchy: string; member: string },
  structure: Structure,
  question: Question,
  use: FieldUse,
): HTMLElement {
  const hierarchy = findHierarchy(structure, one.hierarchy);
  const level = hierarchy?.levels[0];
  const act = () => level && putLevel(question, one.hierarchy, level.name, "filter", use);
  const title = "This dimension has no total: one member counts until you choose others";
  return h(
    "button",
    { type: "button", class: "chip default", title, "data-key": `default ${one.hierarchy}`, onclick: act },
    h("b", {}, hierarchy?.caption ?? ""),
    h("span", {}, `${lastName(one.member)} only`),
  );
}
