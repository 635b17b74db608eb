// The chart beside the table: the same answer as lines, bars or stacked bars.

import {
  BarController,
  BarElement,
  CategoryScale,
  Chart,
  Legend,
  LinearScale,
  LineController,
  LineElement,
  PointElement,
  Tooltip,
} from "chart.js";
import { captionsOf, columnDepth, type Grid } from "./answer.ts";
import { isTotal } from "./mdx.ts";
import type { ChartKind } from "./question.ts";
import type { Member } from "./xmla.ts";

Chart.register(
  BarController,
  BarElement,
  CategoryScale,
  Legend,
  LinearScale,
  LineController,
  LineElement,
  PointElement,
  Tooltip,
);

/** More could not be told apart. */
export const MOST_POINTS = 100;
export const MOST_SERIES = 8;

interface Shown {
  index: number;
  caption: string;
}

function shown(tuples: Member[][], depth: number, most: number): Shown[] {
  return tuples
    .map((tuple, index) => ({
      index,
      caption: captionsOf(tuple.slice(0, depth)),
      total: tuple.some((one) => isTotal(one.name)),
    }))
    .filter(({ total }) => !total)
    .slice(0, most);
}

/** A colour, or another setting, of the style sheet. */
function setting(name: string): string {
  return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}

export class AnswerChart {
  private chart: Chart | null = null;

  constructor(private readonly canvas: HTMLCanvasElement) {}

  clear(): void {
    this.chart?.destroy();
    this.chart = null;
  }

  show(grid: Grid, kind: Exclude<ChartKind, "none">): void {
    this.clear();
    const rows = shown(grid.rows, Infinity, MOST_POINTS);
    const columns = shown(grid.columns, columnDepth(grid.columns), MOST_SERIES);
    const text = setting("--muted");
    const line = setting("--line");
    const stacked = kind === "stacked";
    this.canvas.setAttribute(
      "aria-label",
      `${kind === "line" ? "Line" : stacked ? "Stacked bar" : "Bar"} chart of ` +
        `${columns.map((column) => column.caption).join(", ")}: ${rows.length} points. The table has the figures.`,
    );
    const series = columns.map(({ index, caption }, at) => ({
      label: caption,
      data: rows.map((row) => {
        const value = grid.cell(row.index, index)?.value;
        return typeof value === "number" ? value : null;
      }),
      backgroundColor: setting(`--series-${at + 1}`),
      borderColor: setting(`--series-${at + 1}`),
      borderWidth: kind === "line" ? 2 : 0,
      pointRadius: rows.length > 40 ? 0 : 3,
      maxBarThickness: 42,
    }));
    const scale = { stacked, border: { color: line }, ticks: { color: text }, grid: { color: line } };
    this.chart = new Chart(this.canvas, {
      type: kind === "line" ? "line" : "bar",
      data: { labels: rows.map((row) => row.caption), datasets: series as never },
      options: {
        animation: false,
        maintainAspectRatio: false,
        interaction: { mode: "index", intersect: false },
        font: { family: setting("--font") },
        scales: { x: { ...scale, grid: { display: false } }, y: { ...scale, beginAtZero: true } },
        plugins: {
          legend: { display: true, position: "bottom", labels: { color: text, boxWidth: 10, boxHeight: 10 } },
          tooltip: {
            callbacks: {
              label: (item) => {
                const row = rows[item.dataIndex]?.index ?? 0;
                const column = columns[item.datasetIndex]?.index ?? 0;
                return `${item.dataset.label ?? ""}: ${grid.cell(row, column)?.formatted ?? ""}`;
              },
            },
          },
        },
      },
    });
  }
}
