// What the station takes, and how soon a verdict is on the page: node station.mjs FOLDER, which has
// the programs. CQ_NODE_MODULES has playwright-core, CQ_CHROMIUM is the browser.

import { spawn } from "node:child_process";
import { existsSync, mkdtempSync, readFileSync, rmSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join, resolve } from "node:path";

const kInstruments = 100;
const kPerSecond = 50;
const kSeconds = 20;
const kPresses = 500;
const programs = resolve(process.argv[2]);
const { chromium } = createRequire(join(process.env.CQ_NODE_MODULES, "x.js"))("playwright-core");

const sleep = (milliseconds) => new Promise((done) => setTimeout(done, Math.max(0, milliseconds)));
const now = () => performance.timeOrigin + performance.now();

/** A station with so many virtual instruments, all of them ready. */
async function start(count) {
  const folder = mkdtempSync(join(tmpdir(), "cq-bench-"));
  const ports = Array.from({ length: count }, (_, index) => (count === 1 ? "port" : `port-${index + 1}`));
  const fleet = spawn(join(programs, "cq-virtual-instrument"), ["--fleet", count, "--until-eof", "--calibrated",
    "--measure-time", "0", "--link", "port"].map(String), { cwd: folder, stdio: ["pipe", "ignore", "inherit"] });
  while (!existsSync(join(folder, ports.at(-1)))) {
    await sleep(10);
  }
  const station = spawn(join(programs, "cq-station"), ports.flatMap((port) => ["--instrument", port]),
    { cwd: folder, stdio: ["ignore", "pipe", "inherit"] });
  const line = await new Promise((done) => station.stdout.once("data", (text) => done(String(text).trim())));
  const address = line.replace("page: ", "");
  const { origin, searchParams } = new URL(address);
  const get = async (path) =>
    (await fetch(origin + path, { headers: { Authorization: `Bearer ${searchParams.get("token")}` } })).json();
  while ((await get("/api/instruments")).instruments.some((one) => one.state !== "ready")) {
    await sleep(50);
  }
  return {
    address, get, fleet,
    processorSeconds: () => readFileSync(`/proc/${station.pid}/stat`, "utf8").split(" ").slice(13, 15)
      .reduce((sum, ticks) => sum + Number(ticks) / 100, 0),
    end() {
      station.kill("SIGINT");
      fleet.stdin.end();
      station.once("exit", () => rmSync(folder, { recursive: true }));
    },
  };
}

async function load() {
  const station = await start(kInstruments);
  const share = async (work) => {
    const before = station.processorSeconds();
    await work();
    return `${(100 * (station.processorSeconds() - before) / kSeconds).toFixed(1)} % of a core`;
  };
  console.log(`${kInstruments} instruments, idle: ${await share(() => sleep(1000 * kSeconds))}`);
  const measure = async () => {
    const begin = now();
    for (let i = 0; i < kPerSecond * kSeconds; ++i) {
      station.fleet.stdin.write(`:${i % kInstruments + 1} press standard\n`);
      await sleep(begin + 1000 * (i + 1) / kPerSecond - now());
    }
  };
  console.log(`${kPerSecond} measurements a second: ${await share(measure)}`);
  await sleep(1000);
  const [job] = (await station.get("/api/jobs")).jobs;
  const { measurementCount } = await station.get(`/api/jobs/${job}?last=0`);
  console.log(`of ${kPerSecond * kSeconds} measurements ${measurementCount} are in the job`);
  station.end();
  return measurementCount === kPerSecond * kSeconds;
}

async function latency() {
  const station = await start(1);
  const browser = await chromium.launch({
    executablePath: process.env.CQ_CHROMIUM, args: ["--no-sandbox", "--disable-gpu", "--disable-background-networking"],
  });
  const page = await browser.newPage();
  await page.goto(station.address);
  await page.waitForSelector("#trial:enabled");
  await page.evaluate(() => {
    globalThis.shown = [];
    new MutationObserver(() => shown.push(performance.timeOrigin + performance.now()))
      .observe(document.getElementById("spoken"), { childList: true });
  });
  const pressed = [];
  for (let i = 0; i <= kPresses; ++i) {
    pressed.push(now());
    station.fleet.stdin.write(i === 0 ? "s" : "t");
    await sleep(100);
  }
  await sleep(1000);
  const shown = await page.evaluate(() => shown);
  const times = shown.map((time, index) => time - pressed[index]).slice(1).sort((one, other) => one - other);
  const at = (share) => times[Math.floor(share * (times.length - 1))].toFixed(1);
  console.log(`from the button to the page: median ${at(0.5)} ms, 99 % within ${at(0.99)} ms, of ${times.length}`);
  await browser.close();
  station.end();
  return times.length === kPresses;
}

const isComplete = (await load()) && (await latency());
process.exitCode = isComplete ? 0 : 1;
