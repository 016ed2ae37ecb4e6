// The station's API, as docs/station-api.md describes it.

export class Refused extends Error {}

async function answerOf(response) {
  const answer = await response.json().catch(() => ({}));
  if (!response.ok) {
    throw new Refused([answer.error ?? response.statusText, answer.advice].filter(Boolean).join(": "));
  }
  return answer;
}

const path = (...parts) => "/api/" + parts.map(encodeURIComponent).join("/");

export const get = async (...parts) => answerOf(await fetch(path(...parts)));

export const post = async (body, ...parts) =>
  answerOf(await fetch(path(...parts), {
    method: "POST",
    headers: { "Content-Type": "application/json" },
    body: JSON.stringify(body),
  }));

/** An SVG drawing of the server's as an element; null if there is nothing to draw. */
export async function drawing(job, number, name) {
  const response = await fetch(path("jobs", job, "measurements", number, name));
  if (response.status !== 200) {
    return null;
  }
  const root = new DOMParser().parseFromString(await response.text(), "text/html");
  return root.querySelector("svg");
}

/**
 * The live channel: told(message) for each message, state(isOpen) when it opens and closes. It opens
 * again by itself, and goes on after the last event that it has told.
 */
export class Live {
  constructor(told, state) {
    this.told = told;
    this.state = state;
  }

  /** From now on the events of this job after this number. */
  follow(job, after) {
    this.job = job;
    this.after = after;
    this.close();
    this.open();
  }

  open() {
    const query = new URLSearchParams(this.job === null ? {} : { job: this.job, after: this.after });
    const socket = new WebSocket(`${location.protocol === "https:" ? "wss" : "ws"}://${location.host}/api/live?${query}`);
    this.socket = socket;
    socket.onopen = () => this.state(true);
    socket.onmessage = ({ data }) => {
      const message = JSON.parse(data);
      if (message.type === "event") {
        this.after = message.event.number;
      }
      this.told(message);
    };
    socket.onclose = () => {
      if (this.socket === socket) {
        this.state(false);
        setTimeout(() => this.socket === socket && this.open(), 1000);
      }
    };
  }

  close() {
    const socket = this.socket;
    this.socket = null;
    socket?.close();
  }
}
