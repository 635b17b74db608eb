// What there is to ask: databases, cubes, and a cube's dimensions and measures.

import { XmlaFault, type Row, type XmlaClient } from "./xmla.ts";

export interface Cube {
  name: string;
  virtual: boolean;
  description: string;
}

export interface Database {
  name: string;
  cubes: Cube[];
  /** Cubes that were imported and cannot be served, with the reasons. */
  unserved: { name: string; reason: string }[];
  /** Why its cubes cannot be listed. */
  fault?: string;
}

export interface Level {
  name: string;
  caption: string;
  depth: number;
  /** About how many members it has. */
  size: number;
}

export interface Hierarchy {
  name: string;
  caption: string;
  /** The name of the member of everything; without one, another member stands for the hierarchy. */
  all: string | null;
  defaultMember: string;
  /** Without the level of the member of everything. */
  levels: Level[];
}

export interface Dimension {
  caption: string;
  description: string;
  hierarchies: Hierarchy[];
}

export interface Measure {
  name: string;
  caption: string;
  description: string;
}

export interface Structure {
  database: string;
  cube: string;
  dimensions: Dimension[];
  measures: Measure[];
  defaultMeasure: string;
}

const MEASURES = "[Measures]";
const TYPE_OF_ALL = "1";

export async function loadDatabases(client: XmlaClient): Promise<Database[]> {
  const [catalogues, unserved] = await Promise.all([
    client.discover("DBSCHEMA_CATALOGS"),
    // Servers of other makers do not have this rowset.
    client.discover("KCD_UNSERVED_CUBES").catch(() => []),
  ]);
  const names = catalogues.map((row) => row["CATALOG_NAME"] ?? "");
  names.push(...unserved.map((row) => row["CATALOG_NAME"] ?? ""));
  return Promise.all(
    [...new Set(names)]
      .sort((a, b) => a.localeCompare(b))
      .map(async (name) => ({
        name,
        unserved: unserved
          .filter((row) => row["CATALOG_NAME"] === name)
          .map((row) => ({ name: row["CUBE_NAME"] ?? "", reason: row["REASON"] ?? "" })),
        ...(await loadCubes(client, name)),
      })),
  );
}

async function loadCubes(client: XmlaClient, database: string): Promise<{ cubes: Cube[]; fault?: string }> {
  try {
    const rows = await client.discover("MDSCHEMA_CUBES", { CATALOG_NAME: database });
    const cubes = rows
      .filter((row) => row["CATALOG_NAME"] === database)
      .map((row) => ({
        name: row["CUBE_NAME"] ?? "",
        virtual: row["CUBE_TYPE"] === "VIRTUAL CUBE",
        description: row["DESCRIPTION"] ?? "",
      }));
    return { cubes };
  } catch (error) {
    if (error instanceof XmlaFault) {
      return { cubes: [], fault: error.message };
    }
    throw error;
  }
}

/** Something that differs after the cubes were imported anew; empty when it cannot be told. */
export async function loadedAt(client: XmlaClient, database: string, cube: string): Promise<string> {
  const rows = await client.discover("MDSCHEMA_CUBES", { CATALOG_NAME: database, CUBE_NAME: cube });
  return rows[0]?.["LAST_SCHEMA_UPDATE"] ?? "";
}

export async function loadStructure(client: XmlaClient, database: string, cube: string): Promise<Structure> {
  const of = { CATALOG_NAME: database, CUBE_NAME: cube };
  const [dimensions, hierarchies, levels, measures] = await Promise.all(
    ["MDSCHEMA_DIMENSIONS", "MDSCHEMA_HIERARCHIES", "MDSCHEMA_LEVELS", "MDSCHEMA_MEASURES"].map((type) =>
      client.discover(type, of),
    ) as [Promise<Row[]>, Promise<Row[]>, Promise<Row[]>, Promise<Row[]>],
  );
  if (measures.length === 0) {
    throw new XmlaFault(`there is no cube '${cube}' in '${database}', or it has no measures`);
  }
  // The engine makes up descriptions where there are none.
  const description = (row: Row) =>
    (row["DESCRIPTION"] ?? "").startsWith(`${cube} Cube - `) ? "" : (row["DESCRIPTION"] ?? "");
  const shown = (row: Row, column: string) => row[column] !== "false";
  const offered = hierarchies.find((row) => row["DIMENSION_UNIQUE_NAME"] === MEASURES);
  return {
    database,
    cube,
    dimensions: dimensions
      .filter((row) => row["DIMENSION_UNIQUE_NAME"] !== MEASURES && shown(row, "DIMENSION_IS_VISIBLE"))
      .sort((a, b) => Number(a["DIMENSION_ORDINAL"]) - Number(b["DIMENSION_ORDINAL"]))
      .map((row) => ({
        caption: row["DIMENSION_CAPTION"] ?? "",
        description: description(row),
        hierarchies: hierarchies
          .filter((other) => other["DIMENSION_UNIQUE_NAME"] === row["DIMENSION_UNIQUE_NAME"])
          .filter((other) => shown(other, "HIERARCHY_IS_VISIBLE"))
          .map((other) => readHierarchy(other, levels)),
      })),
    measures: measures
      .filter((row) => shown(row, "MEASURE_IS_VISIBLE"))
      .map((row) => ({
        name: row["MEASURE_UNIQUE_NAME"] ?? "",
        caption: row["MEASURE_CAPTION"] ?? "",
        description: description(row),
      })),
    defaultMeasure: offered?.["DEFAULT_MEMBER"] ?? measures[0]?.["MEASURE_UNIQUE_NAME"] ?? "",
  };
}

function readHierarchy(row: Row, levels: Row[]): Hierarchy {
  const name = row["HIERARCHY_UNIQUE_NAME"] ?? "";
  return {
    name,
    caption: row["HIERARCHY_CAPTION"] ?? "",
    all: row["ALL_MEMBER"] || null,
    defaultMember: row["DEFAULT_MEMBER"] ?? "",
    levels: levels
      .filter((level) => level["HIERARCHY_UNIQUE_NAME"] === name && level["LEVEL_TYPE"] !== TYPE_OF_ALL)
      .filter((level) => level["LEVEL_IS_VISIBLE"] !== "false")
      .map((level) => ({
        name: level["LEVEL_UNIQUE_NAME"] ?? "",
        caption: level["LEVEL_CAPTION"] ?? "",
        depth: Number(level["LEVEL_NUMBER"]),
        size: Number(level["LEVEL_CARDINALITY"]),
      })),
  };
}

export function hierarchiesOf(structure: Structure): Hierarchy[] {
  return structure.dimensions.flatMap((dimension) => dimension.hierarchies);
}

export function findHierarchy(structure: Structure, name: string): Hierarchy | undefined {
  return hierarchiesOf(structure).find((hierarchy) => hierarchy.name === name);
}

export function findLevel(structure: Structure, name: string): Level | undefined {
  return hierarchiesOf(structure)
    .flatMap((hierarchy) => hierarchy.levels)
    .find((level) => level.name === name);
}
