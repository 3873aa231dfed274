// What stands beside the parameters: the exchanges in raw form and, with the simulated camera, the log of what its
// daemons were sent and the ways to change it. A real camera has no addresses for these, and the panels stay away.
import { copy, find, h, say } from "./dom.js";
import { curlOf } from "./protocol.js";

const LOG = "/camera/log";
const CHANGE = "/camera";
const LOG_LINES_KEPT = 500;
const LOG_PAUSE = 1000; // ms
const FAULTS = {
    configer: ["absent", "refuse", "hang", "close", "garbage", "late:2000"],
    snapshot: ["absent", "wild", "loop", "small"],
    semaphore: ["absent", "taken"],
    ptz: ["absent", "hang", "garbage", "late:2000"],
    analytics: ["absent", "hang", "garbage", "late:2000"],
    syslog: ["absent", "hang"],
};

export function showExchanges(camera) {
    const choice = find("exchange-choice");
    const chosen = () => camera.exchanges[choice.selectedIndex];
    const show = () => {
        find("exchange-curl").textContent = curlOf(chosen());
        const reply = [chosen().text, chosen().trouble].filter(Boolean).join("\n");
        find("exchange-reply").textContent = reply || "(nothing)";
    };
    choice.addEventListener("change", show);
    find("exchange-copy").addEventListener("click", (event) => copy(find("exchange-curl"), event.target));
    camera.addEventListener("exchange", () => {
        choice.replaceChildren(...camera.exchanges.map((done) => h("option", {}, titleOf(done))));
        show();
    });
}

function titleOf(done) {
    const names = done.body?.split("\r\n", 1) ?? [...done.url.matchAll(/req=([^&]*)/g)].map((match) => match[1]);
    const more = names.length > 1 ? ` and ${names.length - 1} more` : "";
    const time = new Date(done.start).toTimeString().slice(0, 8);
    return `${time}  ${done.method}  ${done.status || "no answer"}  ${done.end - done.start} ms  ${names[0]}${more}`;
}

// Reads the log on, from the byte where it ended the last time, and shows the panels once there is one.
export async function followLog(onChange) {
    let size = 0;
    const decoder = new TextDecoder();
    for (;;) {
        const piece = await readLog(size).catch(() => ({}));
        if (piece.isAbsent) return;
        if (piece.isNew) size = 0;
        if (piece.bytes) {
            size += piece.bytes.byteLength;
            find("log").hidden = find("simulator").hidden = false;
            const lines = decoder.decode(piece.bytes, { stream: true }).split("\n").filter(Boolean);
            addLines(lines);
            if (lines.some((line) => line.startsWith("change "))) onChange();
        }
        await new Promise((wake) => setTimeout(wake, LOG_PAUSE));
    }
}

async function readLog(from) {
    // From the last byte that is known, so that there is always one to answer with; else the log has begun anew.
    const known = Math.min(from, 1);
    const reply = await fetch(LOG, { headers: { Range: `bytes=${from - known}-` }, cache: "no-store" });
    if (reply.status === 416) return { isNew: true };
    const isLog = reply.ok && reply.headers.get("content-type")?.startsWith("text/plain");
    if (!isLog) return { isAbsent: reply.status < 500 };
    const bytes = await reply.arrayBuffer();
    return { bytes: bytes.slice(reply.status === 206 ? known : from) };
}

function addLines(lines) {
    const list = find("log-lines");
    const isAtEnd = list.scrollTop + list.clientHeight > list.scrollHeight - 8;
    list.append(...lines.map((line) => h("div", { class: `log-${line.split(" ")[0]}` }, line)));
    while (list.children.length > LOG_LINES_KEPT) list.firstChild.remove();
    if (isAtEnd) list.scrollTop = list.scrollHeight;
    for (const line of lines.filter((line) => line.startsWith("change "))) markFaults(line.slice(7));
}

export function showSimulator() {
    find("faults").replaceChildren(...Object.entries(FAULTS).map(([service, faults]) =>
        h("div", { role: "group", "aria-label": `Faults of ${service}`, "data-service": service },
            h("span", {}, service),
            h("div", {}, ["none", ...faults].map((fault) => faultButton(service, fault))))));
    find("change").addEventListener("submit", (event) => {
        event.preventDefault();
        change(find("change-lines").value);
    });
    find("reset").addEventListener("click", () => change("reset"));
}

function faultButton(service, fault) {
    const onclick = () => change(`fault ${service} ${fault}`);
    return h("button", { type: "button", "aria-pressed": String(fault === "none"), onclick }, fault);
}

async function change(lines) {
    try {
        const reply = await fetch(CHANGE, { method: "POST", body: lines });
        say(find("change-answer"), `${lines.split("\n")[0]}: ${(await reply.text()).trim()}`);
        find("change-answer").classList.toggle("wrong", !reply.ok);
    } catch {
        say(find("change-answer"), "The camera does not answer.");
    }
}

// The log tells which faults there are, whoever made them; in it the lines of a change stand on one.
function markFaults(change) {
    for (const line of change.split(/\\n|\n/)) {
        const [, service, fault] = /^fault (\S+) (\S+)/.exec(line) ?? [];
        for (const group of service || line === "reset" ? find("faults").children : []) {
            if (service && group.dataset.service !== service) continue;
            group.querySelectorAll("button").forEach((button) =>
                (button.ariaPressed = String(button.textContent === (fault ?? "none"))));
        }
    }
}
