// What was read as a text to keep or to send on, and such a text read again.

// Of each name what was read: its value or its error; what was not read is left out.
const entriesOf = (names, readings) =>
    names.map((name) => [name, readings.get(name)]).filter(([, reading]) => reading && !reading.trouble);

export function toJson(title, names, readings) {
    const entries = entriesOf(names, readings);
    const pick = (field) => Object.fromEntries(
        entries.filter(([, reading]) => reading[field] !== undefined).map(([name, reading]) => [name, reading[field]]));
    const about = {camera: title, address: location.host, made: new Date().toISOString()};
    return JSON.stringify({...about, values: pick("value"), errors: pick("error")}, null, 2) + "\n";
}

const cell = (text = "") => (/[",\r\n]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text);

export function toCsv(names, readings) {
    const lines = entriesOf(names, readings).map(([name,
        {value, error, at}]) => [name, value, error, new Date(at).toISOString()].map(cell).join(","));
    return ["name,value,error,read", ...lines].join("\r\n") + "\r\n";
}

export const toLines = (names, readings) => entriesOf(names, readings)
                                                .filter(([, reading]) => reading.value !== undefined)
                                                .map(([name, {value}]) => `${name}=${value}\n`)
                                                .join("");

// Of a JSON file of this page, or of NAME=VALUE lines such as replies: {title, made, values, by name}. Throws what is
// wrong with it.
export function fromFile(text) {
    /** @type {[string, string][]} */
    const lines = [...text.matchAll(/^([A-Z]\w*(?:\.\w+)+)=(.*?)\r?$/gm)].map(([, name, value]) => [name, value]);
    if (!/^\s*\{/.test(text) && lines.length) return {title: "", made: "", values: new Map(lines)};
    let found = null;
    try {
        found = JSON.parse(text);
    } catch {
        // Neither of them.
    }
    const isText = (value) => typeof value === "string";
    const values = Object.entries(found?.values ?? {});
    if (!values.length || !values.every(([, value]) => isText(value))) {
        throw new Error("it is neither a JSON export of this page nor NAME=VALUE lines.");
    }
    return {title: String(found.camera ?? ""), made: String(found.made ?? ""), values: new Map(values)};
}
