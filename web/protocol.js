// Requests to param.cgi and what its replies mean. Names and values travel as they are: the program decodes no percent
// signs, and those of a name need no encoding. What is counted and waited for is told by the catalogue (rulesOf).

export const PROGRAM = "/cgi-bin/param.cgi";
export const CANCELLED = "Cancelled.";
export const REDIRECTED = "The web server leads elsewhere, as to a login page.";

export const queryOf = (names) => "?" + names.map((name) => "req=" + name).join("&");
export const bodyOf = (name, value) => `${name}=${value}\r\n`;

// Groups of names for one read each. Those that are to be asked for alone come last.
export function batches(names, {room, isAlone}) {
    const together = names.filter((name) => !isAlone(name));
    const groups = [];
    for (let i = 0; i < together.length; i += room) groups.push(together.slice(i, i + room));
    return groups.concat(names.filter(isAlone).map((name) => [name]));
}

// A request that begins now, and its place for all that comes of it; in its text each character is one byte.
export function begin(query, body) {
    return {
        method: body === undefined ? "GET" : "POST",
        url: new URL(PROGRAM + query, location.href).href,
        body,
        start: Date.now(),
        end: 0,
        status: "",
        text: "",
        trouble: "",
        lacksHeader: false
    };
}

// Carries it out. It never throws: what went wrong on the way is its "trouble", a sentence.
export async function finish(done, {timeLimit}, signal) {
    const control = new AbortController();
    const timer = setTimeout(() => control.abort(new DOMException("", "TimeoutError")), timeLimit);
    const cancel = () => control.abort(new DOMException("", "AbortError"));
    signal?.addEventListener("abort", cancel);
    try {
        const reply = await fetch(done.url,
            {method: done.method, body: done.body, cache: "no-store", redirect: "manual", signal: control.signal});
        await take(reply, done);
    } catch (error) {
        done.trouble = troubleOf(error, done, timeLimit);
    }
    clearTimeout(timer);
    signal?.removeEventListener("abort", cancel);
    done.end = Date.now();
}

async function take(reply, done) {
    // Followed, it would lead to a page that is no reply, and a write would be sent there.
    if (reply.type === "opaqueredirect") {
        Object.assign(done, {status: "redirect", trouble: REDIRECTED});
        return;
    }
    done.status = `${reply.status} ${reply.statusText}`.trim();
    const wish = [401, 403].includes(reply.status) ? ": it wants a login" : "";
    if (!reply.ok) done.trouble = `The web server answered ${done.status}${wish}.`;
    // The web server takes what the program prints in front of its header for a part of it.
    done.lacksHeader = reply.ok && !reply.headers.has("content-type");
    await receive(reply.body, (text) => (done.text += text));
    if (reply.ok) done.trouble = pageTrouble(done.text, reply.headers.get("content-type"));
}

// In pieces, so that what came before a connection broke is kept.
async function receive(stream, take) {
    const reader = stream.getReader();
    for (let piece = await reader.read(); !piece.done; piece = await reader.read()) {
        take(Array.from(piece.value, (byte) => String.fromCharCode(byte)).join(""));
    }
}

function troubleOf(error, done, timeLimit) {
    if (error.name === "AbortError") return CANCELLED;
    if (error.name === "TimeoutError") return `No answer within ${timeLimit / 1000} s.`;
    return done.status ? "The answer broke off." : "The camera does not answer.";
}

// A page where something else is wanted, named by its title.
export function pageTrouble(text, type) {
    if (!type?.startsWith("text/html") && !/^\s*<(!doctype\s+html|html)/i.test(text)) return "";
    const title = /<title[^>]*>\s*([^<]*)/i.exec(text)?.[1].trim().slice(0, 80);
    return `The web server sent a page${title ? ` “${textOf(title).text}”` : ""} instead, as for a login.`;
}

// What bytes, one in each character, say as UTF-8. If they are none, those beyond ASCII are shown as \xHH.
export function textOf(bytes) {
    try {
        const numbers = Uint8Array.from([...bytes].map((byte) => byte.charCodeAt(0)));
        return {text: new TextDecoder("utf-8", {fatal: true, ignoreBOM: true}).decode(numbers), isRaw: false};
    } catch {
        const text = bytes.replace(/[\x80-\xff]/g, (byte) => `\\x${byte.charCodeAt(0).toString(16)}`);
        return {text, isRaw: true};
    }
}

// What a reply says about each of the names: {value}, {error}, the program's words, or {trouble}. Lines are taken by
// their name, and only whole ones: the last one may have been cut off.
export function match(names, done, rules) {
    const lines = done.text.split("\r\n").slice(0, -1);
    const answers = new Map();
    const strays = [];
    for (const line of lines) {
        const [, error, name, rest] = /^(#error\.)?([\w.]+)=(.*)$/s.exec(line) ?? [];
        if (!names.includes(name)) strays.push(line);
        else answers.set(name, error ? {error: rest.replace(/^\d+:/, "")} : valueOf(rest));
    }
    const refusal = !answers.size && strays.length === 1 ? strays[0] : null; // a bare line, of the request as a whole
    for (const name of names.filter((name) => !answers.has(name))) {
        const isBare = rules.isAlone(name) && !done.trouble && done.text;
        answers.set(name, isBare ? valueOf(done.text.trim()) : leftOut(done, refusal, rules));
    }
    const remark = remarkOf(done, strays);
    return new Map([...answers].map(([name, answer]) => [name, {remark, ...answer}]));
}

function valueOf(bytes) {
    const {text, isRaw} = textOf(bytes);
    return {value: text, ...isRaw && { isRaw, remark: "Its bytes are no UTF-8; \\x stands in front of each." }};
}

function leftOut(done, refusal, {replyMax}) {
    if (done.trouble) return {trouble: done.trouble};
    if (refusal) return {error: refusal};
    if (done.text.length >= replyMax) return {trouble: "The reply was cut off before this parameter."};
    return {trouble: done.text ? "The reply leaves this parameter out." : "The reply is empty."};
}

// What came beside the answers.
function remarkOf(done, strays) {
    const text = strays.filter((line) => !/^content-type:/i.test(line)).join(" ").trim();
    if (!done.trouble && text) return `The reply also says: ${textOf(text.slice(0, 300)).text}`;
    if (!done.lacksHeader) return "";
    return "The program printed something in front of its header, as it does when it does not reach a daemon.";
}

// The names that a request asks for or writes.
export const namesOf =
    ({url, body}) => [...(body ?? url).matchAll(body === undefined ? /req=([^&]*)/g : /^([^=\r\n]+)=/gm)].map(
        (found) => found[1]);

const quote = (text) => `'${text.replaceAll("'", "'\\''")}'`;

export function curlOf({url, body}) {
    if (body === undefined) return `curl -g ${quote(url)}`;
    const lines = body.split("\r\n");
    if (lines.at(-1) !== "") return `printf %s ${quote(body)} | curl --data-binary @- ${quote(url)}`;
    return `printf '%s\\r\\n' ${lines.slice(0, -1).map(quote).join(" ")} | curl --data-binary @- ${quote(url)}`;
}
