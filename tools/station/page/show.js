// What is on the screen, from the station's messages. Texts from outside are set as text alone.

const by = (id) => document.getElementById(id);

const kWords = { pass: "pass", warn: "pass, near the limit", fail: "fail" };
const kOldCalibration = 8 * 3600;

export const signed = (value, digits = 2) => (value < 0 ? "−" : "+") + Math.abs(value).toFixed(digits);

function make(tag, text, cssClass) {
  const element = document.createElement(tag);
  element.textContent = text ?? "";
  if (cssClass) {
    element.className = cssClass;
  }
  return element;
}

const clock = (time) => new Date(time).toLocaleTimeString([], { hour: "2-digit", minute: "2-digit", second: "2-digit" });

/** The word and the sign for a measurement. */
function verdictOf(result) {
  if (result.verdict) {
    return { grade: result.verdict.grade, sign: result.verdict.sign, word: kWords[result.verdict.grade] };
  }
  if (result.kind === "standard") {
    return { grade: "none", sign: "", word: "standard" };
  }
  return { grade: "none", sign: "", word: result.standard ? "no limits" : "no standard yet" };
}

export function showResult(result, isFresh) {
  const { grade, sign, word } = result ? verdictOf(result) : { grade: "none", sign: "", word: "nothing measured yet" };
  const verdict = by("verdict");
  verdict.dataset.grade = grade;
  by("sign").textContent = sign;
  by("word").textContent = word;
  verdict.classList.remove("fresh");
  if (isFresh) {
    void verdict.offsetWidth; // begins the movement anew
    verdict.classList.add("fresh");
    const difference = result.difference ? `, ΔE ${result.difference.deltaE.toFixed(2)}` : "";
    by("spoken").textContent = `${result.name}: ${word}${difference}`;
  }
  by("standardSwatch").style.background = result?.standard?.color ?? result?.color ?? "";
  by("trialSwatch").style.background = result?.color ?? "";
  by("names").textContent = result
    ? result.name + (result.standard ? ` against ${result.standard.name}` : "") + (result.struckOut ? " (struck out)" : "")
    : "";
  const difference = result?.difference;
  by("deltaE").textContent = difference
    ? `${difference.formula} ${difference.deltaE.toFixed(2)}`
    : result?.lab ? `L* ${result.lab.L.toFixed(2)}  a* ${result.lab.a.toFixed(2)}  b* ${result.lab.b.toFixed(2)}` : "";
  by("differences").replaceChildren(...(difference
    ? [["ΔL*", "dL"], ["Δa*", "da"], ["Δb*", "db"], ["ΔC*", "dC"], ["ΔH*", "dH"]].map(([symbol, key]) => {
        const item = make("div");
        item.append(make("dt", symbol), make("dd", signed(difference[key])));
        return item;
      })
    : []));
  by("findings").replaceChildren(...(result?.verdict?.findings ?? []).map((finding) =>
    make("li", `${finding.isMet ? "✓" : finding.isWarning ? "!" : "✗"} ${finding.quantity} ${finding.value} (${finding.limit}, ${finding.illuminant})`,
      (finding.isMet ? "" : "missed") + (finding.isWarning ? " warning" : ""))));
  document.querySelectorAll("#rows tr").forEach((row) => row.classList.toggle("shown", Number(row.dataset.number) === result?.number));
}

export function showInstrument(state) {
  const isReady = state?.state === "ready";
  const name = [state?.model, state?.serial].filter(Boolean).join(" ");
  by("instrument").textContent = state
    ? `${name || "Instrument " + state.name}: ${state.state}${state.port ? " on " + state.port : ""}`
    : "";
  for (const id of ["trial", "standard", "white", "black"]) {
    by(id).disabled = !isReady || (state.job === null && (id === "trial" || id === "standard"));
  }
  if (document.activeElement !== by("name")) {
    by("name").value = state?.nextName ?? "";
  }
  showAge(state);
}

/** What keeps the instrument, or else what was refused last. */
export function showProblem(state, refusal) {
  by("problem").textContent = state?.state === "searching" && state.problem === null
    ? "looking for the instrument" : state?.problem ?? refusal;
}

export function showAge(state) {
  const white = state?.calibrated?.white;
  const age = white ? (Date.now() - Date.parse(white)) / 1000 : null;
  const hours = age === null ? 0 : Math.floor(age / 3600);
  by("age").textContent = age === null
    ? "Calibration: none known"
    : `Calibrated on white ${hours > 0 ? `${hours} h ` : ""}${Math.max(0, Math.floor((age % 3600) / 60))} min ago` +
      (age > kOldCalibration ? ": calibrate anew" : "");
  by("age").classList.toggle("old", age === null || age > kOldCalibration);
}

export function showTabs(states, current, choose) {
  by("tabs").replaceChildren(...states.map((state, index) => {
    const tab = make("button", `${state.name}${state.state === "searching" ? " ○" : " ●"}`);
    tab.type = "button";
    tab.role = "tab";
    tab.setAttribute("aria-selected", String(state.name === current));
    tab.title = state.state;
    if (index < 9) {
      tab.prepend(make("kbd", String(index + 1)), " ");
    }
    tab.onclick = () => choose(state.name);
    return tab;
  }));
}

function option(value, text, selected) {
  const element = make("option", text);
  element.value = value;
  element.selected = selected;
  return element;
}

export function showJob(job, names, state) {
  by("jobs").replaceChildren(...names.map((name) => option(name, name, name === job?.name)));
  by("standards").replaceChildren(
    option("", "the latest", state?.standard == null),
    ...(job?.standards ?? []).toReversed().map((one) => option(one.number, one.name, one.number === state?.standard)));
  by("title").textContent = job ? [job.title || job.name, job.operator].filter(Boolean).join(", ") : "No job";
  by("limits").textContent = job && job.limits.length > 0
    ? "Limits: " + job.limits.map((one) => one.limit + (one.isWarning ? " (warning)" : "")).join(", ") +
      `; ${job.illuminants.join(", ")}, ${job.observer}°`
    : "";
}

export function rowOf(result, actions) {
  const row = make("tr");
  row.dataset.number = result.number;
  row.classList.toggle("struck", result.struckOut);
  const { grade, sign, word } = verdictOf(result);
  const pair = make("span", "", "pair");
  for (const color of [result.standard?.color ?? result.color, result.color]) {
    const half = make("span");
    half.style.background = color;
    pair.append(half);
  }
  const colors = make("td");
  colors.append(pair);
  const verdict = make("td", `${sign} ${word}`);
  verdict.dataset.grade = grade;
  const difference = result.difference;
  const digits = (value) => make("td", value === undefined ? "" : signed(value));
  const buttons = make("td");
  for (const [text, act] of [["Strike out", actions.strikeOut], ["Remark", actions.remark]]) {
    if (text === "Remark" || !result.struckOut) {
      const button = make("button", text);
      button.type = "button";
      button.setAttribute("aria-label", `${text}: ${result.name}`);
      button.onclick = (event) => {
        event.stopPropagation();
        act(result);
      };
      buttons.append(button, " ");
    }
  }
  row.append(make("td", result.name), colors, verdict,
    make("td", difference ? difference.deltaE.toFixed(2) : ""),
    digits(difference?.dL), digits(difference?.da), digits(difference?.db),
    make("td", clock(result.time)), make("td", result.remarks.join("; ")), buttons);
  row.onclick = () => actions.show(result);
  return row;
}
