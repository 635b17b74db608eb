// Choosing members of a level. Levels may be large: the server searches, and a page is shown at a time.

import { captionOf } from "./answer.ts";
import { byId, fill, h } from "./dom.ts";
import { buildSearchMdx, lastName } from "./mdx.ts";
import { findHierarchy, type Structure } from "./metadata.ts";
import { findPlaced, type Question } from "./question.ts";
import type { Member, XmlaClient } from "./xmla.ts";

export const PAGE_MEMBERS = 100;
const PAUSE_MILLISECONDS = 200;

export function chooseMembers(
  client: XmlaClient,
  structure: Structure,
  question: Question,
  hierarchyName: string,
  done: (level: string, members: string[]) => void,
): void {
  const hierarchy = findHierarchy(structure, hierarchyName);
  const found = findPlaced(question, hierarchyName);
  if (!hierarchy || !found) {
    return;
  }
  let level = found.it.level;
  let page = 0;
  let latest = 0;
  let timer = 0;
  const chosen = new Set(found.it.members);

  const input = h("input", {
    type: "search",
    id: "member-search",
    placeholder: "Search",
    autocomplete: "off",
  });
  const levels = h("select", { id: "member-level" });
  for (const one of hierarchy.levels) {
    levels.append(h("option", { value: one.name, selected: one.name === level }, one.caption));
  }
  const list = h("ul", { class: "member-list" });
  const status = h("p", { class: "note", role: "status" });
  const picked = h("p", { class: "picked" });
  const previous = h("button", { type: "button", onclick: () => turn(-1) }, "Previous");
  const next = h("button", { type: "button", onclick: () => turn(1) }, "Next");
  const clear = h("button", { type: "button", onclick: () => (chosen.clear(), void look()) }, "Choose none");
  const dialog = byId<HTMLDialogElement>("dialog");
  const apply = () => {
    dialog.close();
    done(level, [...chosen]);
  };

  fill(
    dialog,
    h("h2", { id: "dialog-title" }, `Members of ${hierarchy.caption}`),
    h(
      "div",
      { class: "search" },
      h("label", { for: "member-level" }, "Level"),
      levels,
      h("label", { for: "member-search" }, "Name contains"),
      input,
    ),
    list,
    h("div", { class: "pages" }, status, previous, next),
    picked,
    h(
      "div",
      { class: "buttons" },
      clear,
      h("button", { type: "button", onclick: () => dialog.close() }, "Cancel"),
      h("button", { type: "button", class: "primary", onclick: apply }, "Apply"),
    ),
  );
  input.addEventListener("input", () => {
    clearTimeout(timer);
    timer = window.setTimeout(() => turn(-page), PAUSE_MILLISECONDS);
  });
  input.addEventListener("keydown", (event) => {
    if (event.key === "Enter") {
      event.preventDefault();
      turn(-page);
    }
  });
  levels.addEventListener("change", () => {
    level = levels.value;
    chosen.clear();
    turn(-page);
  });
  dialog.showModal();
  input.focus();
  void look();

  function turn(by: number): void {
    page += by;
    void look();
  }

  async function look(): Promise<void> {
    const ticket = ++latest;
    showPicked();
    status.textContent = "Searching…";
    const mdx = buildSearchMdx(
      question.cube,
      hierarchyName,
      level,
      input.value.trim(),
      page * PAGE_MEMBERS,
      PAGE_MEMBERS,
    );
    try {
      const answer = await client.execute(question.database, mdx);
      if (ticket === latest) {
        const members = (answer.axes[1]?.tuples ?? []).map((tuple) => tuple[0]).filter((one) => one !== undefined);
        showFound(members, Number(answer.cells.get(0)?.value ?? 0));
      }
    } catch (error) {
      if (ticket === latest) {
        status.textContent = error instanceof Error ? error.message : String(error);
      }
    }
  }

  function showFound(members: Member[], count: number): void {
    fill(list, ...members.map(showMember));
    const first = page * PAGE_MEMBERS;
    const numbers = [first + 1, first + members.length, count].map((one) => one.toLocaleString("en"));
    status.textContent = count === 0 ? "No member is called so" : `${numbers[0]}–${numbers[1]} of ${numbers[2]}`;
    previous.disabled = page === 0;
    next.disabled = first + members.length >= count;
  }

  function showMember(member: Member): HTMLElement {
    const box = h("input", { type: "checkbox", "data-key": member.name });
    box.checked = chosen.has(member.name);
    box.addEventListener("change", () => {
      if (!chosen.delete(member.name)) {
        chosen.add(member.name);
      }
      showPicked();
    });
    const above = member.parent && member.parent !== hierarchy?.all ? lastName(member.parent) : "";
    const label = h("label", {}, box, h("span", {}, captionOf(member)), above && h("span", { class: "kind" }, above));
    return h("li", {}, label);
  }

  function showPicked(): void {
    const names = [...chosen].slice(0, 5).map(lastName).join(", ");
    const more = chosen.size > 5 ? ` and ${chosen.size - 5} more` : "";
    picked.textContent = chosen.size === 0 ? "None chosen: all members count" : `Chosen: ${names}${more}`;
    clear.disabled = chosen.size === 0;
  }
}
