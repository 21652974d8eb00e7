// read.mjs TABLES_SQL TABLE: reads a table row by row through the Node package; prints seconds and cells.
import { readFileSync } from "node:fs";
import { DuckDBInstance } from "@duckdb/node-api";

const connection = await (await DuckDBInstance.create(":memory:")).connect();
await connection.run(readFileSync(process.argv[2], "utf8"));

async function read() {
  let cells = 0;
  const result = await connection.run("FROM " + process.argv[3]);
  for await (const rows of result.yieldRowsJs()) {
    for (const row of rows) {
      for (const cell of row) {
        cells += cell === undefined ? 0 : 1;
      }
    }
  }
  return cells;
}

await read();
const start = process.cpuUsage();
const cells = await read();
const used = process.cpuUsage(start);
console.log((used.user + used.system) * 1e-6, cells);
