// The page as people use it, in a real browser: CQ_PROGRAM is cq, CQ_NODE_MODULES has playwright-core,
// CQ_CHROMIUM is the browser. With CQ_SCREENSHOTS pictures of the page go into that folder.

import assert from "node:assert/strict";
import { spawn, spawnSync } from "node:child_process";
import { existsSync, mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { dirname, join } from "node:path";
import { after, afterEach, before, beforeEach, test } from "node:test";

const kPatience = Number(process.env.CQ_PATIENCE ?? 30000);
const cq = process.env.CQ_PROGRAM;
const { chromium } = createRequire(join(process.env.CQ_NODE_MODULES, "tests.js"))("playwright-core");

let browser;
let folder;
let fleet;
let station;
let page;
let faults;

before(async () => {
  browser = await chromium.launch({
    executablePath: process.env.CQ_CHROMIUM,
    args: ["--no-sandbox", "--disable-gpu", "--disable-background-networking"],
  });
});
after(() => browser.close());

async function until(condition, what) {
  for (const end = Date.now() + kPatience; !(await condition());) {
    assert.ok(Date.now() < end, `waited in vain for ${what}`);
    await new Promise((done) => setTimeout(done, 10));
  }
}

/** The first line that a program prints. */
const firstLine = (program) => new Promise((done) => program.stdout.once("data", (text) => done(String(text).trim())));

/** Returns the page's address. */
async function startStation(...options) {
  station = spawn(cq, ["serve", "--job", "lot.cqjob", "--instrument", "port-1", "--instrument", "port-2", ...options],
    { cwd: folder, stdio: ["ignore", "pipe", "inherit"] });
  return (await firstLine(station)).replace("page: ", "");
}

const tell = (command) => fleet.stdin.write(`:${command}\n`);

beforeEach(async () => {
  folder = mkdtempSync(join(tmpdir(), "cq-page-"));
  const made = spawnSync(cq, ["job", "new", "lot.cqjob", "--title", "Lot <12>", "--tolerance", "dE00<=0.38",
    "--tolerance", "|dL|<=0.9", "--warn", "dE00<=0.3"], { cwd: folder });
  assert.equal(made.status, 0, String(made.stderr));
  fleet = spawn(join(dirname(cq), "cq-virtual-instrument"),
    ["--fleet", "2", "--until-eof", "--link", "port", "--noise", "0", "--measure-time", "20"], { cwd: folder });
  await until(() => existsSync(join(folder, "port-2")), "the instruments");
  const address = await startStation();

  page = await browser.newPage({ viewport: { width: 1280, height: 900 } });
  faults = [];
  page.on("pageerror", (error) => faults.push(String(error)));
  // The browser itself remarks on what was refused, and on a station that is away, be it about to go or to come.
  const remarks = /ERR_|status of|Authentication failed|^WebSocket connection to .* failed/;
  page.on("console", (message) => message.type() === "error" && !remarks.test(message.text()) && faults.push(message.text()));
  page.on("request", (request) => {
    if (new URL(request.url()).host !== new URL(address).host) {
      faults.push(request.url());
    }
  });
  await page.goto(address);
});

afterEach(async () => {
  await page.close();
  station.kill();
  fleet.stdin.end();
  rmSync(folder, { recursive: true });
  assert.deepEqual(faults, []);
});

/** Waits for it on the page, whose rules keep waitForFunction() from doing so. */
const onPage = (condition, argument, what) =>
  until(() => page.evaluate(condition, argument), what).catch(async (error) => {
    error.message += `; the page has: ${await page.innerText("body")}`;
    throw error;
  });
const shows = (selector, text) => onPage(([where, wanted]) =>
  document.querySelector(where)?.textContent.includes(wanted) ?? false, [selector, text], `${text} in ${selector}`);
const isReady = () => page.waitForSelector("#trial:enabled", { timeout: kPatience });
const rowCount = (count) =>
  onPage((wanted) => document.querySelectorAll("#rows tr").length === wanted, count, `${count} rows`);

async function calibrate() {
  await isReady();
  await page.keyboard.press("w");
  await shows("#age", "0 min ago");
  await isReady();
  await page.keyboard.press("b");
  await until(async () => (await page.evaluate(async () =>
    (await (await fetch("/api/instruments")).json()).instruments[0].calibrated.black)) !== undefined, "black");
  await isReady();
}

/** All keys at once: a busy machine would type them too slowly for a scanner. */
const scan = (text) => page.evaluate((keys) => {
  for (const key of keys) {
    document.activeElement.dispatchEvent(new KeyboardEvent("keydown", { key, bubbles: true, cancelable: true }));
  }
}, [...text, "Enter"]);

async function picture(name) {
  if (process.env.CQ_SCREENSHOTS) {
    for (const [width, height] of [[390, 844], [1280, 900], [1920, 1080]]) {
      await page.setViewportSize({ width, height });
      await page.evaluate(() => scrollTo(0, 0));
      await page.screenshot({ path: join(process.env.CQ_SCREENSHOTS, `${name}-${width}.png`), fullPage: width === 390 });
      const tooWide = await page.evaluate(() => document.documentElement.scrollWidth > innerWidth);
      assert.equal(tooWide, false, `${width} px`);
    }
    await page.setViewportSize({ width: 1280, height: 900 });
  }
}

/** The station's next answer to such a request, which waits until it is let go. */
async function heldBack(address) {
  let hasCome = false;
  let mayGo = false;
  await page.route(address, async (route) => {
    const response = await route.fetch();
    hasCome = true;
    await until(() => mayGo, "an answer's release");
    await route.fulfill({ response });
  }, { times: 1 });
  return { hasCome: () => until(() => hasCome, "an answer"), letGo: () => { mayGo = true; } };
}

test("from a refusal by calibration and the instrument's button to a verdict, and undo", async () => {
  assert.equal(new URL(page.url()).search, "", "the token is not on the screen");
  await page.route("**/api/instruments", () => {}); // the station takes its time
  await page.reload({ waitUntil: "domcontentloaded" });
  assert.ok(await page.isDisabled("#white"), "nothing to calibrate yet");
  await page.unroute("**/api/instruments");
  await page.reload();
  await isReady();
  await page.click("#standard");
  await shows("#problem", "calibrate");
  for (const name of ["next", ""]) {
    await page.evaluate((name) => fetch("/api/instruments/1/name", { method: "POST",
      headers: { "Content-Type": "application/json" }, body: JSON.stringify({ name }) }), name);
    await onPage((name) => document.getElementById("name").value === name, name, "the name");
  }
  await shows("#problem", "calibrate"); // news of the instrument does not hide what was refused
  await calibrate();
  tell("1 press standard");
  await shows("#word", "standard");
  tell("1 press trial");
  await rowCount(2);
  await shows("#spoken", "trial 1: fail");
  assert.equal(await page.textContent("#sign"), "✗");
  assert.match(await page.textContent("#deltaE"), /^ΔE00 \d\.\d\d$/);
  for (const drawing of ["spectrum", "plane"]) {
    await page.waitForSelector(`#${drawing} svg`);
  }
  assert.equal(await page.textContent("#title"), "Lot <12>");
  const [standard, trial] = await page.$$eval("#pair span", (halves) => halves.map((half) => getComputedStyle(half).backgroundColor));
  assert.notEqual(standard, trial);
  for (const count of [3, 4, 5]) {
    tell("1 press trial");
    await rowCount(count);
  }
  await page.click("#rows tr:has-text('trial 1')");
  await shows("#names", "trial 1");
  await page.waitForSelector("#plane circle.shown");
  await page.waitForSelector("#trend .point.fail");
  await picture("fail");

  await page.click("#undo");
  await page.waitForSelector("#rows tr.struck:has-text('trial 4')");
  await shows("#names", "trial 1");
  await page.click("#rows tr:nth-child(1) button:has-text('Remark')");
  await page.fill("#remarkText", "<i>dusty</i>");
  await page.keyboard.press("Enter");
  await shows("#rows tr td:nth-child(9)", "<i>dusty</i>");
});

test("pulled and back, reloaded, the station away and back: nothing is lost", async () => {
  await calibrate();
  await page.keyboard.press("s");
  await rowCount(1);
  tell("1 unplug");
  await shows("#instrument", "searching");
  assert.equal(await page.isDisabled("#trial"), true);
  tell("1 plug");
  await isReady();
  tell("1 press trial");
  await rowCount(2);
  await page.reload();
  await rowCount(2);
  await shows("#names", "trial 1 against standard 1");

  const port = new URL(page.url()).port;
  const [cookie] = await page.context().cookies();
  assert.equal(cookie.sameSite, "Strict");
  station.kill();
  await shows("#link", "does not answer");
  writeFileSync(join(folder, "token"), cookie.value);
  const undone = spawnSync(cq, ["job", "undo", "lot.cqjob"], { cwd: folder });
  assert.equal(undone.status, 0, String(undone.stderr));
  await startStation("--http-port", port, "--token-file", "token");
  await page.waitForSelector("#rows tr.struck:has-text('trial 1')", { timeout: kPatience });
  assert.equal(await page.textContent("#link"), "");

  station.kill();
  await shows("#link", "does not answer");
  await startStation("--http-port", port);
  await shows("#link", "new token");
});

test("the keyboard alone, a scanner, and the second instrument", async () => {
  await calibrate();
  await scan("st12-7");
  await onPage(() => document.getElementById("name").value === "st12-7", null, "the scanned name");
  assert.equal(await page.$$eval("#rows tr", (rows) => rows.length), 0, "a scan is no command");
  await page.keyboard.press("s");
  await shows("#names", "st12-7");
  await page.waitForTimeout(100);
  await page.keyboard.press("n");
  await onPage(() => document.activeElement.id === "name", null, "the name");
  await page.keyboard.type("batch t");
  await page.keyboard.press("Enter");
  await onPage(() => document.activeElement.id !== "name", null, "the end of the name");
  await page.keyboard.press("t");
  await shows("#names", "batch t against st12-7");

  await page.waitForTimeout(100);
  await page.keyboard.press("2");
  await shows("[role=tab][aria-selected=true]", "2");
  await page.waitForTimeout(100);
  await page.keyboard.press("j");
  await page.waitForSelector("#jobDialog[open]");
  await page.keyboard.type("lot 13");
  await page.keyboard.press("Enter");
  await shows("#title", "lot 13");
  assert.equal(await page.$eval("#jobs", (jobs) => jobs.value), "lot 13");
  await page.waitForTimeout(100);
  await page.keyboard.press("1");
  await shows("#title", "Lot <12>");
  await rowCount(2);

  // An answer that is older than a measurement on the screen does not hide it.
  let answer = await heldBack("**/api/jobs/lot");
  spawnSync(cq, ["job", "remark", "lot.cqjob", "dusty", "--on", "batch t"], { cwd: folder });
  await answer.hasCome();
  tell("1 press trial");
  await rowCount(3);
  answer.letGo();
  await page.waitForSelector("#rows tr:has-text('dusty')", { timeout: kPatience });
  assert.equal(await page.$$eval("#rows tr", (rows) => rows.length), 3);

  // A name that is typed while the instrument measures stays there.
  answer = await heldBack("**/measure");
  await page.keyboard.press("t");
  await answer.hasCome();
  await page.focus("#name");
  await page.keyboard.type("next");
  const answered = page.waitForResponse("**/measure");
  answer.letGo();
  await answered;
  await page.waitForTimeout(100);
  assert.equal(await page.inputValue("#name"), "next");
});
