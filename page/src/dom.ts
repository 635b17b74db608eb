// Making elements, replacing them without losing the keyboard's place, and small menus.

type Child = Node | string | null | undefined | false;
type Value = string | number | boolean | null | undefined | ((event: never) => void);

/**
 * An element. Functions become listeners of the event that their name says ("onclick"); true and false
 * set and leave out an attribute. Texts never become markup.
 */
export function h<Tag extends keyof HTMLElementTagNameMap>(
  tag: Tag,
  attributes: Record<string, Value> = {},
  ...children: Child[]
): HTMLElementTagNameMap[Tag] {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === "function") {
      element.addEventListener(name.slice(2), value as EventListener);
    } else if (value === true) {
      element.setAttribute(name, "");
    } else if (value !== false && value !== null && value !== undefined) {
      element.setAttribute(name, String(value));
    }
  }
  element.append(...children.filter((child): child is Node | string => !!child));
  return element;
}

/** Puts other children in; the focus returns to the child that has the same data-key as before. */
export function fill(parent: HTMLElement, ...children: Child[]): void {
  const active = document.activeElement;
  const key = active instanceof HTMLElement && parent.contains(active) ? active.dataset["key"] : undefined;
  parent.replaceChildren(...children.filter((child): child is Node | string => !!child));
  if (key !== undefined) {
    focusKey(parent, key);
  }
}

export function focusKey(parent: HTMLElement, key: string): void {
  parent.querySelector<HTMLElement>(`[data-key="${CSS.escape(key)}"]`)?.focus();
}

export function byId<Kind extends HTMLElement>(id: string): Kind {
  return document.getElementById(id) as Kind;
}

export interface Choice {
  text: string;
  chosen?: boolean;
  act(): void;
}

/** A list of choices below an element, closed by a choice, Escape or a click elsewhere. */
export function openMenu(anchor: HTMLElement, title: string, groups: Choice[][]): void {
  const menu = h("div", { class: "menu", popover: "auto", role: "menu", "aria-label": title });
  for (const group of groups.filter((choices) => choices.length > 0)) {
    const items = group.map((choice) =>
      h(
        "button",
        {
          type: "button",
          role: choice.chosen === undefined ? "menuitem" : "menuitemradio",
          "aria-checked": choice.chosen === undefined ? null : String(choice.chosen),
          tabindex: -1,
          onclick: () => {
            menu.hidePopover();
            choice.act();
          },
        },
        choice.text,
      ),
    );
    menu.append(h("div", { role: "group" }, ...items));
  }
  menu.addEventListener("keydown", (event) => moveInMenu(menu, event));
  menu.addEventListener("toggle", (event) => {
    if ((event as ToggleEvent).newState === "closed") {
      menu.remove();
    }
  });
  // Within its landmark, where people who jump between them look for it.
  (anchor.closest("nav, section") ?? document.body).append(menu);
  menu.showPopover();
  const place = anchor.getBoundingClientRect();
  const { width, height } = menu.getBoundingClientRect();
  menu.style.left = `${Math.max(4, Math.min(place.left, innerWidth - width - 4))}px`;
  menu.style.top = `${Math.max(4, Math.min(place.bottom + 2, innerHeight - height - 4))}px`;
  menu.querySelector("button")?.focus();
}

function moveInMenu(menu: HTMLElement, event: KeyboardEvent): void {
  const items = [...menu.querySelectorAll("button")];
  const at = items.indexOf(document.activeElement as HTMLButtonElement);
  const next = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: items.length - 1 }[event.key];
  if (next !== undefined) {
    event.preventDefault();
    items[(next + items.length) % items.length]?.focus();
  } else if (event.key === "Tab") {
    menu.hidePopover();
  }
}

/** Lets the browser keep a text as a file. */
export function save(name: string, type: string, text: string): void {
  const address = URL.createObjectURL(new Blob([text], { type }));
  h("a", { href: address, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(address), 10_000);
}
