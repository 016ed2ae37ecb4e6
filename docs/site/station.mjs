// Makes the pictures of docs/station.md: node docs/site/station.mjs PROGRAMS FOLDER
// CQ_NODE_MODULES has playwright-core, CQ_CHROMIUM is the browser, as for tests/station.

import { spawn } from "node:child_process";
import { once } from "node:events";
import { mkdtempSync, rmSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join, resolve } from "node:path";

const kPictures = [
  { name: "station.png", width: 1280, height: 1200, colorScheme: "light" },
  { name: "station-narrow.png", width: 390, height: 844, colorScheme: "dark" },
];
const kTrials = 12;
const programs = resolve(process.argv[2]);
const { chromium } = createRequire(join(process.env.CQ_NODE_MODULES, "x.js"))("playwright-core");

const folder = mkdtempSync(join(tmpdir(), "cq-pictures-"));
const station = spawn(join(programs, "cq-station"), ["--instrument", "left=virtual", "--instrument", "right=virtual",
  "--virtual-options", "--measure-time 20 --seed 5"], { cwd: folder, stdio: ["ignore", "pipe", "inherit"] });
const [line] = await once(station.stdout, "data");
const { origin, searchParams } = new URL(String(line).trim().replace("page: ", ""));
const token = searchParams.get("token");
const ask = async (path, body) => (await fetch(`${origin}/api/${path}`, {
  method: body ? "POST" : "GET",
  headers: { Authorization: `Bearer ${token}`, "Content-Type": "application/json" },
  body: JSON.stringify(body),
})).json();

while ((await ask("instruments")).instruments.some((one) => one.state !== "ready")) {
  await new Promise((done) => setTimeout(done, 50));
}
await ask("jobs", { name: "lot 12", title: "Lot 12", operator: "Night shift", illuminants: ["D65", "A"],
  tolerances: ["dE00<=0.8"], warnings: ["dE00<=0.5"] });
await ask("instruments/left/job", { job: "lot 12" });
for (const on of ["white", "black"]) {
  await ask("instruments/left/calibrate", { on });
}
await ask("instruments/left/measure", { kind: "standard", name: "Master 12" });
for (let trial = 1; trial <= kTrials; ++trial) {
  await ask("instruments/left/measure", { kind: "trial", name: `12-${trial}` });
}

const browser = await chromium.launch({ executablePath: process.env.CQ_CHROMIUM, args: ["--no-sandbox", "--disable-gpu"] });
for (const { name, width, height, colorScheme } of kPictures) {
  const page = await browser.newPage({ viewport: { width, height }, colorScheme, reducedMotion: "reduce" });
  await page.goto(`${origin}/?token=${token}`);
  await page.waitForSelector("#trend svg");
  await page.screenshot({ path: join(process.argv[3], name) });
}
await browser.close();
station.kill("SIGINT");
await once(station, "exit");
rmSync(folder, { recursive: true });
