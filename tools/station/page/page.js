// The bench page: which instrument and job are shown, and what keys and buttons do.

import { Live, Refused, drawing, get, post } from "./api.js";
import { rowOf, showAge, showInstrument, showJob, showProblem, showResult, showTabs } from "./show.js";

const by = (id) => document.getElementById(id);

const kDrawings = ["spectrum", "plane", "trend"];
const kMostRows = 200;

const states = new Map(); // of the instruments, by name
let current = null;       // the name of the one that is shown
let job = null;           // as the station describes it
let jobNames = [];
let shown = null;         // the measurement on the screen
let refusal = "";         // why the last action came to nothing

// The token stays in the cookie, not in the address that others see on the screen.
if (location.search) {
  history.replaceState(null, "", "/");
}

const state = () => states.get(current);

function setRefusal(text) {
  refusal = text;
  showProblem(state(), refusal);
}

/** Does something that the station may refuse. */
async function attempt(action) {
  try {
    return await action();
  } catch (error) {
    setRefusal(error instanceof Refused ? error.message : "the station does not answer");
    return null;
  }
}

/** Does what somebody has asked for. */
function act(action) {
  setRefusal("");
  return attempt(action);
}

const command = (action, body) => act(() => post(body, "instruments", current, action));

// ---- what is shown

let isDrawing = false;

/** Draws what is shown, and what is shown by then: the verdict never waits for drawings. */
async function draw() {
  if (isDrawing) {
    return;
  }
  isDrawing = true;
  for (let drawn; drawn !== shown;) {
    drawn = shown;
    const svgs = await Promise.all(kDrawings.map((name) =>
      drawn ? drawing(job?.name, drawn.number, `${name}.svg`).catch(() => null) : null));
    kDrawings.forEach((name, index) => by(name).replaceChildren(...(svgs[index] ? [svgs[index]] : [])));
  }
  isDrawing = false;
}

function show(result, isFresh = false) {
  shown = result;
  showResult(result, isFresh);
  draw();
}

const actions = {
  show,
  strikeOut: (result) => act(() => post({ number: result.number }, "jobs", job.name, "undo")),
  remark: (result) => {
    remarked = result;
    by("remarkHead").textContent = `Remark on ${result.name}`;
    by("remarkText").value = "";
    by("remarkDialog").showModal();
  },
};

/** The newest that counts. */
const last = () => job.measurements.findLast((result) => !result.struckOut) ?? null;

function showList() {
  by("rows").replaceChildren(...job.measurements.toReversed().map((result) => rowOf(result, actions)));
  nameDifference();
}

function nameDifference() {
  by("deltaHead").textContent = job.measurements.findLast((result) => result.difference)?.difference.formula ?? "ΔE";
}

const jobOfCurrent = () => state()?.job ?? null;

async function loadJob() {
  const name = jobOfCurrent();
  const load = () => (name === null ? null : get("jobs", name));
  const { jobs: names } = await get("jobs");
  let loaded = await load();
  if (live.job === name && loaded?.lastNumber < live.after) {
    loaded = await load(); // it was on its way when more was told
  }
  if (name !== jobOfCurrent()) {
    return; // another one is wanted meanwhile
  }
  jobNames = names;
  job = loaded;
  showJob(job, jobNames, state());
  if (job === null) {
    by("rows").replaceChildren();
    show(null);
    return;
  }
  showList();
  show(job.measurements.find((result) => result.number === shown?.number && !result.struckOut) ?? last());
}

async function follow() {
  shown = null;
  await attempt(loadJob);
  live.follow(job?.name ?? null, job?.lastNumber ?? 0);
}

async function choose(name) {
  current = name;
  sessionStorage.setItem("instrument", name);
  showTabs([...states.values()], current, choose);
  showInstrument(state());
  setRefusal("");
  await follow();
}

// ---- what the station tells

const live = new Live(told, async (isOpen) => {
  by("link").classList.toggle("lost", !isOpen);
  by("link").textContent = isOpen ? "" : "The station does not answer. Trying again …";
  if (!isOpen && (await fetch("/api/jobs").catch(() => null))?.status === 401) {
    by("link").textContent = "The station has a new token: open the address that it has printed.";
  }
});

function told(message) {
  if (message.type === "instrument") {
    return takeState(message.instrument);
  }
  if (message.job !== job?.name) {
    return;
  }
  if (message.result) {
    takeResult(message.result);
  } else {
    attempt(loadJob); // struck out, remarked, other limits: the verdicts may be others
  }
}

function takeResult(result) {
  job.lastNumber = result.number;
  if (job.measurements.some((known) => known.number === result.number)) {
    return;
  }
  job.measurements.push(result);
  by("rows").prepend(rowOf(result, actions));
  if (job.measurements.length > kMostRows) {
    job.measurements.shift();
    by("rows").lastElementChild.remove();
  }
  nameDifference();
  if (result.kind === "standard") {
    job.standards.push({ number: result.number, name: result.name });
    showJob(job, jobNames, state());
  }
  if (result.serial === null || state()?.serial === null || result.serial === state().serial) {
    setRefusal("");
    show(result, true);
    sound(result.verdict?.grade);
  }
}

function takeState(told) {
  const before = states.get(told.name);
  states.set(told.name, told);
  showTabs([...states.values()], current, choose);
  if (told.name !== current) {
    return;
  }
  showInstrument(told);
  showProblem(told, refusal);
  if (before?.job !== told.job) {
    follow();
  } else if (before?.standard !== told.standard) {
    showJob(job, jobNames, told);
  }
}

// ---- sound

let audio = null;

/** High for pass, twice for a warning, low for fail. */
function sound(grade) {
  if (!by("sound").checked || !grade) {
    return;
  }
  audio ??= new AudioContext();
  const tones = { pass: [880], warn: [660, 660], fail: [220, 180] }[grade];
  tones.forEach((frequency, index) => {
    const tone = audio.createOscillator();
    const volume = audio.createGain();
    const start = audio.currentTime + index * 0.2;
    tone.frequency.value = frequency;
    volume.gain.setValueAtTime(0.2, start);
    volume.gain.exponentialRampToValueAtTime(0.001, start + 0.18);
    tone.connect(volume).connect(audio.destination);
    tone.start(start);
    tone.stop(start + 0.2);
  });
}

// ---- keys and buttons

async function measure(kind) {
  const name = by("name").value;
  const done = await command("measure", { kind, name });
  if (done && by("name").value === name) {
    by("name").value = ""; // unless the next one's has been typed meanwhile
  }
}

const buttons = {
  trial: () => measure("trial"),
  standard: () => measure("standard"),
  undo: () => job && act(() => post({}, "jobs", job.name, "undo")),
  white: () => command("calibrate", { on: "white" }),
  black: () => command("calibrate", { on: "black" }),
  newJob: () => {
    by("jobProblem").textContent = "";
    by("jobDialog").showModal();
  },
};
for (const [id, press] of Object.entries(buttons)) {
  by(id).onclick = press;
}

by("nameForm").onsubmit = (event) => {
  event.preventDefault();
  command("name", { name: by("name").value });
  by("name").blur();
};
by("jobs").onchange = ({ target }) => command("job", { job: target.value });
by("standards").onchange = ({ target }) =>
  command("standard", { number: target.value === "" ? null : Number(target.value) });

const listed = (id) => by(id).value.split(",").map((text) => text.trim()).filter(Boolean);

by("jobCancel").onclick = () => by("jobDialog").close();
by("jobDialog").querySelector("form").onsubmit = async (event) => {
  event.preventDefault();
  try {
    const made = await post({
      name: by("jobName").value, title: by("jobTitle").value, operator: by("jobOperator").value,
      tolerances: listed("jobTolerances"), warnings: listed("jobWarnings"), illuminants: listed("jobIlluminants"),
    }, "jobs");
    by("jobDialog").close();
    await command("job", { job: made.job });
  } catch (error) {
    by("jobProblem").textContent = error.message;
  }
};

let remarked = null;
by("remarkCancel").onclick = () => by("remarkDialog").close();
by("remarkDialog").querySelector("form").onsubmit = () =>
  act(() => post({ number: remarked.number, text: by("remarkText").value }, "jobs", job.name, "remark"));

const keys = { t: "trial", s: "standard", u: "undo", w: "white", b: "black", j: "newJob" };

function pressKey(key) {
  if (key in keys) {
    by(keys[key]).click();
  } else if (key === "n") {
    by("name").focus();
  } else if (/^[1-9]$/.test(key) && states.size > 1) {
    const name = [...states.keys()][Number(key) - 1];
    if (name !== undefined) {
      choose(name);
    }
  }
}

// A scanner is a keyboard that types faster than people do and ends with Enter. What it types is a
// name wherever the focus is, never one key after another.
const kScannerPause = 60; // ms
let typed = "";
let pause = null;

function endTyping() {
  if (typed.length === 1) {
    pressKey(typed);
  } else if (typed.length > 1) {
    by("name").value = typed;
    by("name").focus();
  }
  typed = "";
}

document.addEventListener("keydown", (event) => {
  const isElsewhere = event.ctrlKey || event.metaKey || event.altKey || document.querySelector("dialog[open]") ||
    event.target.matches("input:not([type=checkbox]), select");
  if (event.key === "Escape" && !document.querySelector("dialog[open]")) {
    document.activeElement.blur();
  } else if (isElsewhere || event.repeat) {
    return;
  } else if (event.key === "Enter" && typed.length > 1) {
    event.preventDefault();
    clearTimeout(pause);
    command("name", { name: typed });
    typed = "";
  } else if (event.key.length === 1 && (event.key !== " " || typed !== "")) {
    event.preventDefault();
    typed += event.key;
    clearTimeout(pause);
    pause = setTimeout(endTyping, kScannerPause);
  }
});

setInterval(() => showAge(state()), 10000);

// ---- the start

const { instruments } = await get("instruments");
instruments.forEach((each) => states.set(each.name, each));
const remembered = sessionStorage.getItem("instrument");
await choose(states.has(remembered) ? remembered : instruments[0].name);
