// XMLA, the one way on which the page asks: requests, and what comes back.

/** What the server says instead of an answer. */
export class XmlaFault extends Error {}

/** A row of a rowset: texts by their columns' names. */
export type Row = Record<string, string>;

export interface Member {
  hierarchy: string;
  /** The unique name, such as "[Store].[Germany]". */
  name: string;
  caption: string;
  level: string;
  /** How many levels there are above. */
  depth: number;
  hasChildren: boolean;
  /** The unique name of the member above; only where the question asked for it. */
  parent: string;
}

export interface Cell {
  value: number | string;
  formatted: string;
  /** Why the server could not compute it. */
  error?: string;
}

export interface Axis {
  hierarchies: string[];
  tuples: Member[][];
}

export interface Dataset {
  axes: Axis[];
  /** By ordinal, the first axis counting fastest; empty cells are not there. */
  cells: Map<number, Cell>;
}

export class XmlaClient {
  constructor(private readonly address = "xmla") {}

  /** The rows of a rowset; the restrictions are columns and their values. */
  async discover(type: string, restrictions: Row = {}): Promise<Row[]> {
    const catalog = restrictions["CATALOG_NAME"];
    const properties = { ...(catalog ? { Catalog: catalog } : {}), Format: "Tabular", Content: "Data" };
    return readRows(await this.post("Discover", discoverEnvelope(type, restrictions, properties)));
  }

  async execute(database: string, mdx: string, signal?: AbortSignal): Promise<Dataset> {
    const properties = {
      Catalog: database,
      Format: "Multidimensional",
      AxisFormat: "TupleFormat",
      Content: "Data",
    };
    return readDataset(await this.post("Execute", executeEnvelope(mdx, properties), signal));
  }

  /** The rows that a DRILLTHROUGH statement asks for, with all levels that are known of them. */
  async drillThrough(database: string, mdx: string): Promise<Row[]> {
    const properties = { Catalog: database, Format: "Tabular", Content: "Data", AdvancedFlag: "true" };
    return readRows(await this.post("Execute", executeEnvelope(mdx, properties)));
  }

  private async post(method: string, body: string, signal?: AbortSignal): Promise<Document> {
    const response = await fetch(this.address, {
      method: "POST",
      headers: {
        "Content-Type": "text/xml; charset=utf-8",
        SOAPAction: `"urn:schemas-microsoft-com:xml-analysis:${method}"`,
      },
      body,
      ...(signal ? { signal } : {}),
    });
    const text = await response.text();
    const answer = new DOMParser().parseFromString(text, "text/xml");
    if (answer.documentElement.localName !== "Envelope") {
      const reason = response.ok ? "the answer cannot be read" : text.trim() || response.statusText;
      throw new XmlaFault(`${reason} (HTTP status ${response.status})`);
    }
    const fault = faultOf(answer);
    if (fault !== null) {
      throw new XmlaFault(fault);
    }
    return answer;
  }
}

/** A text as XML holds it; characters that XML cannot hold become U+FFFD. */
export function escapeXml(text: string): string {
  return text
    .replace(/[\u0000-\u0008\u000b\u000c\u000e-\u001f\ufffe\uffff]/g, "\ufffd")
    .replace(/&/g, "&amp;")
    .replace(/</g, "&lt;")
    .replace(/>/g, "&gt;")
    .replace(/\r/g, "&#13;");
}

function list(texts: Row): string {
  return Object.entries(texts)
    .map(([name, text]) => `<${name}>${escapeXml(text)}</${name}>`)
    .join("");
}

function envelope(method: string, content: string, properties: Row): string {
  return (
    '<Envelope xmlns="http://schemas.xmlsoap.org/soap/envelope/"><Body>' +
    `<${method} xmlns="urn:schemas-microsoft-com:xml-analysis">${content}` +
    `<Properties><PropertyList>${list(properties)}</PropertyList></Properties>` +
    `</${method}></Body></Envelope>`
  );
}

export function discoverEnvelope(type: string, restrictions: Row, properties: Row): string {
  const content =
    `<RequestType>${escapeXml(type)}</RequestType>` +
    `<Restrictions><RestrictionList>${list(restrictions)}</RestrictionList></Restrictions>`;
  return envelope("Discover", content, properties);
}

export function executeEnvelope(mdx: string, properties: Row): string {
  return envelope("Execute", `<Command><Statement>${escapeXml(mdx)}</Statement></Command>`, properties);
}

function all(root: Document | Element, name: string): Element[] {
  return [...root.getElementsByTagNameNS("*", name)];
}

function child(element: Element, name: string): Element | undefined {
  return [...element.children].find((candidate) => candidate.localName === name);
}

function text(element: Element, name: string): string {
  return child(element, name)?.textContent ?? "";
}

/** The reason of a fault, in the engine's words without the packing. */
export function faultOf(answer: Document): string | null {
  const fault = all(answer, "Fault")[0];
  if (fault === undefined) {
    return null;
  }
  const reason = all(fault, "desc")[0]?.textContent || text(fault, "faultstring") || "a fault without a reason";
  return reason.replace(/^(The Mondrian XML: |Mondrian Error:|Internal error: )+/, "").trim();
}

/** Names of columns as they were before they became names of elements. */
export function columnName(element: string): string {
  return element.replace(/_x([0-9A-Fa-f]{4})_/g, (_, code: string) => String.fromCharCode(parseInt(code, 16)));
}

export function readRows(answer: Document): Row[] {
  return all(answer, "row").map((row) =>
    Object.fromEntries([...row.children].map((column) => [columnName(column.localName), column.textContent ?? ""])),
  );
}

export function readDataset(answer: Document): Dataset {
  const axes = all(answer, "Axis").filter((axis) => axis.getAttribute("name") !== "SlicerAxis");
  const infos = all(answer, "AxisInfo");
  return {
    axes: axes.map((axis) => {
      const info = infos.find((candidate) => candidate.getAttribute("name") === axis.getAttribute("name"));
      return {
        hierarchies: info ? all(info, "HierarchyInfo").map((one) => one.getAttribute("name") ?? "") : [],
        tuples: all(axis, "Tuple").map((tuple) => [...tuple.children].map(readMember)),
      };
    }),
    cells: new Map(
      all(answer, "Cell")
        .map(readCell)
        .filter((entry) => entry !== null),
    ),
  };
}

const CHILD_COUNT = 0xffff;

function readMember(element: Element): Member {
  return {
    hierarchy: element.getAttribute("Hierarchy") ?? "",
    name: text(element, "UName"),
    caption: text(element, "Caption"),
    level: text(element, "LName"),
    depth: Number(text(element, "LNum")),
    hasChildren: (Number(text(element, "DisplayInfo")) & CHILD_COUNT) > 0,
    parent: text(element, "PARENT_UNIQUE_NAME"),
  };
}

function readCell(element: Element): [number, Cell] | null {
  const value = child(element, "Value");
  const error = value && child(value, "Error");
  const formatted = text(element, "FmtValue");
  if (value === undefined || (!error && value.textContent === "" && formatted === "")) {
    return null;
  }
  const raw = value.textContent ?? "";
  const isText = (value.getAttribute("xsi:type") ?? "").endsWith("string") || Number.isNaN(Number(raw));
  const cell: Cell = { value: isText ? raw : Number(raw), formatted: formatted || raw };
  if (error) {
    cell.error = text(error, "Description") || "this cell cannot be computed";
  } else if (formatted === `#ERR: ${raw}`) {
    // How this engine says it.
    cell.error = raw || "this cell cannot be computed";
  }
  return [Number(element.getAttribute("CellOrdinal")), cell];
}
