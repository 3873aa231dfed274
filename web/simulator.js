// With the simulated camera: the log of what its daemons were sent, and the ways to change it. A real camera has no
// addresses for these, and the panels stay away.
import {find, h, say} from "./dom.js";

const CHANGE = "/camera";
const LOG = "/camera/log";
const FAULTS = "/camera/faults";
const LOG_LINES_KEPT = 500;
const LOG_PAUSE = 1000; // ms
const TAIL = 64; // bytes of the log's end, by which a log that has begun anew is known

const SHOWN_FAULTS = {
    configer: ["absent", "refuse", "hang", "close", "garbage", "late:2000"],
    snapshot: ["absent", "bare", "wild", "loop", "small"],
    semaphore: ["absent", "taken"],
    ptz: ["absent", "hang", "garbage", "late:2000"],
    analytics: ["absent", "hang", "garbage", "late:2000"],
    syslog: ["absent", "hang"],
};

// Reads the log on, from the byte where it ended the last time, and shows the panels once there is one. onChange(lines)
// is told of changes of the camera, onRestart() of a camera that was started anew.
export async function followLog(onChange, onRestart) {
    let [size, tail, isLost] = [0, new Uint8Array(0), false];
    for (;;) {
        /** @type {{bytes?: Uint8Array, isAbsent?: boolean, isOther?: boolean}} */
        const piece = await readLog(size, tail).catch(() => ({}));
        if (piece.isAbsent && !size) return;
        const isKnown = piece.bytes && !isLost;
        if ((piece.isOther || (piece.bytes && isLost)) && size) {
            [size, tail, isLost] = [0, new Uint8Array(0), false];
            find("log-lines").replaceChildren();
            onRestart();
            continue;
        }
        isLost = !isKnown;
        if (isKnown) {
            if (!size) await offerFaults();
            size += piece.bytes.byteLength;
            tail = new Uint8Array([...tail, ...piece.bytes].slice(-TAIL));
            show(new TextDecoder().decode(piece.bytes).split("\n").filter(Boolean), onChange);
        }
        await new Promise((wake) => setTimeout(wake, LOG_PAUSE));
    }
}

/** @returns {Promise<{bytes?: Uint8Array, isAbsent?: boolean, isOther?: boolean}>} */
async function readLog(size, tail) {
    const from = size - tail.length;
    const reply = await fetch(LOG, {headers: {Range: `bytes=${from}-`}, cache: "no-store"});
    if (reply.status === 416) return size ? {isOther: true} : {bytes: new Uint8Array(0)}; // shorter, or empty still
    const isLog = reply.ok && reply.headers.get("content-type")?.startsWith("text/plain");
    if (!isLog) return {isAbsent: reply.status < 500};
    const all = new Uint8Array(await reply.arrayBuffer()).slice(reply.status === 206 ? 0 : from);
    if (tail.some((byte, i) => all[i] !== byte)) return {isOther: true};
    return {bytes: all.slice(tail.length, all.lastIndexOf("\n".charCodeAt(0)) + 1)}; // whole lines
}

function show(lines, onChange) {
    const list = find("log-lines");
    const isAtEnd = list.scrollTop + list.clientHeight > list.scrollHeight - 8;
    find("log").hidden = find("simulator").hidden = false;
    list.append(...lines.map((line) => h("div", {class: `log-${line.split(" ")[0]}`}, line)));
    while (list.children.length > LOG_LINES_KEPT) list.firstChild.remove();
    if (isAtEnd) list.scrollTop = list.scrollHeight;
    const changes = lines.filter((line) => line.startsWith("change "));
    if (!changes.length) return;
    markFaults();
    onChange(changes);
}

export function offerChanges() {
    find("change").addEventListener("submit", (event) => {
        event.preventDefault();
        change(find("change-lines").value);
    });
    find("reset").addEventListener("click", () => change("reset"));
}

async function change(lines) {
    try {
        const reply = await fetch(CHANGE, {method: "POST", body: lines});
        say(find("change-answer"), `${lines.split("\n")[0]}: ${(await reply.text()).trim()}`);
        find("change-answer").classList.toggle("wrong", !reply.ok);
    } catch {
        say(find("change-answer"), "The camera does not answer.");
    }
    markFaults();
}

// What can go wrong, and what does now: lines of SERVICE, FAULT and its meaning, with tabs between; in front of those
// that are there now "now".
async function readFaults() {
    const reply = await fetch(FAULTS, {cache: "no-store"}).catch(() => null);
    const text = reply?.ok ? await reply.text() : "";
    return text.split("\n").filter(Boolean).map((line) => line.split("\t"));
}

async function offerFaults() {
    const rows = await readFaults();
    const groups = Object.entries(SHOWN_FAULTS).map(([service, faults]) => {
        const meaning = (fault) =>
            rows.find(([one, other]) => one === service && other === fault.replace(/:\d+$/, ":N"))
                ?.[2]
                .replace(/\bN\b/, fault.split(":")[1]);
        return h("div", {role: "group", "aria-label": `Faults of ${service}`, "data-service": service},
            h("span", {title: meaning("")}, service),
            h("div", {}, ["none", ...faults].map((fault) => faultButton(service, fault, meaning(fault)))));
    });
    find("faults").replaceChildren(...groups);
    markFaults(rows);
}

function faultButton(service, fault, title) {
    const onclick = () => change(`fault ${service} ${fault}`);
    return h("button", {type: "button", "aria-pressed": "false", title, onclick}, fault);
}

/** @param {string[][]} [known] */
async function markFaults(known) {
    const rows = known ?? await readFaults();
    const now = new Map(rows.filter(([word]) => word === "now").map(([, service, fault]) => [service, fault]));
    for (const group of find("faults").children) {
        const fault = now.get(group.dataset.service) ?? "none";
        for (const button of group.querySelectorAll("button")) {
            button.ariaPressed = String(button.textContent === fault);
        }
    }
}
