// Requests to param.cgi and what its replies mean. Names and values travel as they are: the program decodes no percent
// signs, and those of a name need no encoding.

export const PROGRAM = "/cgi-bin/param.cgi";
const SAFE_ITEMS = 6; // what one read can always carry; docs/parameters.md tells why
const REPLY_MAX = 4094; // characters; the program cuts off the rest without a sign
const TIME_LIMIT = 90_000; // ms: beyond the web server's own limit, so that it is the server that says what happened

export const queryOf = (names) => "?" + names.map((name) => "req=" + name).join("&");
export const bodyOf = (name, value) => `${name}=${value}\r\n`;

// Groups of names for one read each. Those that are to be asked for alone come last.
export function batches(names, isAlone) {
    const together = names.filter((name) => !isAlone(name));
    const groups = [];
    for (let i = 0; i < together.length; i += SAFE_ITEMS) groups.push(together.slice(i, i + SAFE_ITEMS));
    return groups.concat(names.filter(isAlone).map((name) => [name]));
}

// One request and all that came of it. It never throws: what went wrong on the way is its "trouble", a sentence.
export async function exchange(query, body) {
    const done = { method: body === undefined ? "GET" : "POST", url: new URL(PROGRAM + query, location).href, body,
                   start: Date.now(), status: "", text: "", trouble: "" };
    try {
        const reply = await fetch(done.url, { method: done.method, body, cache: "no-store",
                                              signal: AbortSignal.timeout(TIME_LIMIT) });
        done.status = `${reply.status} ${reply.statusText}`.trim();
        if (!reply.ok) done.trouble = `The web server answered ${done.status}.`;
        // The web server takes what the program prints in front of its header for a part of it.
        done.lacksHeader = reply.ok && !reply.headers.has("content-type");
        await receive(reply.body, (text) => (done.text += text));
    } catch (error) {
        done.trouble = troubleOf(error, done);
    }
    done.end = Date.now();
    return done;
}

// In pieces, so that what came before a connection broke is kept.
async function receive(stream, take) {
    const [reader, decoder] = [stream.getReader(), new TextDecoder()];
    for (let piece = await reader.read(); !piece.done; piece = await reader.read()) {
        take(decoder.decode(piece.value, { stream: true }));
    }
}

function troubleOf(error, done) {
    if (error.name === "TimeoutError") return `No answer within ${TIME_LIMIT / 1000} s.`;
    return done.status ? "The answer broke off." : "The camera does not answer.";
}

// What a reply says about each of the names: {value}, {error}, the program's words, or {trouble}. Lines are taken by
// their name, and only whole ones: the last one may have been cut off.
export function match(names, done, isAlone = () => false) {
    const lines = done.text.split("\r\n").slice(0, -1);
    const answers = new Map();
    const strays = [];
    for (const line of lines) {
        const [, error, name, rest] = /^(#error\.)?([\w.]+)=(.*)$/s.exec(line) ?? [];
        if (!names.includes(name)) strays.push(line);
        else answers.set(name, error ? { error: rest.replace(/^\d+:/, "") } : { value: rest });
    }
    const refusal = !answers.size && strays.length === 1 ? strays[0] : null; // a bare line, of the request as a whole
    for (const name of names.filter((name) => !answers.has(name))) {
        const isBare = isAlone(name) && !done.trouble && done.text;
        answers.set(name, isBare ? { value: done.text.trim() } : leftOut(done, refusal));
    }
    const remark = remarkOf(done, strays);
    return new Map([...answers].map(([name, answer]) => [name, { ...answer, remark }]));
}

function leftOut(done, refusal) {
    if (done.trouble) return { trouble: done.trouble };
    if (refusal) return { error: refusal };
    if (done.text.length >= REPLY_MAX) return { trouble: "The reply was cut off before this parameter." };
    return { trouble: done.text ? "The reply leaves this parameter out." : "The reply is empty." };
}

// What came beside the answers.
function remarkOf(done, strays) {
    const text = strays.filter((line) => !/^content-type:/i.test(line)).join(" ").trim();
    if (!done.trouble && text) return `The reply also says: ${text.slice(0, 300)}`;
    if (!done.lacksHeader) return "";
    return "The program printed something in front of its header, as it does when it does not reach a daemon.";
}

const quote = (text) => `'${text.replaceAll("'", "'\\''")}'`;

export function curlOf({ url, body }) {
    if (body === undefined) return `curl -g ${quote(url)}`;
    return `printf '%s\\r\\n' ${quote(body.slice(0, -2))} | curl --data-binary @- ${quote(url)}`;
}
