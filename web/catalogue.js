// The catalogue of parameters: its records, one per family, become the parameters that a camera has, by what the camera
// announces.

import {REDIRECTED, pageTrouble} from "./protocol.js";

export async function loadCatalogue() {
    const reply = await fetch("parameters.json", {redirect: "manual"}).catch(() => null);
    if (!reply) throw new Error("the web server does not answer.");
    if (reply.type === "opaqueredirect") throw new Error(`parameters.json: ${REDIRECTED}`);
    if (!reply.ok) throw new Error(`parameters.json: the web server answered ${reply.status}.`);
    const text = await reply.text();
    const trouble = pageTrouble(text, reply.headers.get("content-type"));
    if (trouble) throw new Error(`parameters.json: ${trouble}`);
    try {
        return JSON.parse(text);
    } catch {
        throw new Error("parameters.json is not whole.");
    }
}

// What requests and replies go by.
export function rulesOf(catalogue) {
    const {limits, timeouts} = catalogue;
    return {
        isAlone: aloneTest(catalogue),
        room: limits.items.max,
        replyMax: limits.reply.max,
        timeLimit: timeouts.driver.seconds * 1000
    };
}

const fill = (text, values) => text.replace(/\{(\w+)\}/g, (place, name) => values[name] ?? place);
const placeholdersOf = (text) => [...text.matchAll(/\{(\w+)\}/g)].map((match) => match[1]);
const templateOf = (name) => name.replace(/\.\d+(?=\.|$)/g, ".#");

// Tells the names whose answer spoils those of others in the same reply.
function aloneTest(catalogue) {
    const templates = new Set(catalogue.parameters.filter((record) => record.type.of === "xml")
                                  .flatMap((record) => templateOf(record.name.replace(/\{\w+\}/g, "1"))));
    return (name) => templates.has(templateOf(name));
}

// All parameters, by name and in the catalogue's order, by the counts that get(name) knows, and these counts' names.
export function expand(catalogue, get) {
    const counts = new Counts(catalogue, get);
    const parameters = new Map();
    for (const record of catalogue.parameters) {
        for (const codec of record.codecs ?? [undefined]) {
            for (const values of settings(record, codec, counts)) {
                const parameter = makeParameter(catalogue, record, values);
                parameters.set(parameter.name, parameter);
            }
        }
    }
    return {parameters, bounds: counts.bounds};
}

class Counts {
    constructor(catalogue, get) {
        this.catalogue = catalogue;
        this.get = get;
        this.bounds = new Set();
        // A count whose reading changes the camera is not asked for by itself; until somebody does, there is one.
        this.costly = new Set(catalogue.parameters.filter((record) => record.readWrites).map((record) => record.name));
    }

    of(index, values) {
        const bound = fill(this.catalogue.indexes[index].bound, values);
        const value = this.get(bound);
        this.bounds.add(bound);
        if (value === undefined) return this.costly.has(bound) ? 1 : 0;
        return /^\d+$/.test(value) ? Math.min(this.catalogue.limits.index.max, Number(value)) : 0;
    }
}

function settings(record, codec, counts) {
    let found = [{codec}];
    for (const index of placeholdersOf(record.name).filter((name) => name !== "codec")) {
        found = found.flatMap(
            (values) => Array.from({length: counts.of(index, values)}, (_, i) => ({...values, [index]: i + 1})));
    }
    return found;
}

function makeParameter(catalogue, record, values) {
    const type = {...record.type};
    for (const field of ["list", "min", "max"]) {
        if (typeof type[field] === "string") type[field] = fill(type[field], values);
    }
    const name = fill(record.name, values);
    const keys = keysOf(record, keyValues(catalogue, values));
    return {
        name,
        record,
        type,
        keys,
        isWritable: record.access === "read-write",
        changesCamera: record.readWrites !== undefined,
        needs: [type.list, type.min, type.max].filter((need) => typeof need === "string"),
        text: fold([name, record.label, record.meaning, ...keys].join("\n")),
    };
}

// In keys indexes count from 0. Which number the camera gives a stream only the camera knows: that stays open.
function keyValues(catalogue, {codec, stream, ...indexes}) {
    const values = Object.fromEntries(Object.entries(indexes).map(([name, number]) => [name, number - 1]));
    if (codec) values.codec = catalogue.codecs[codec];
    if (stream) values.index2 = stream - 1;
    return values;
}

function keysOf(record, values) {
    const entries = [...record.reads ?? [], ...record.writes ?? [], ...record.readWrites ?? []];
    return [...new Set(entries.filter((entry) => entry.key).map((entry) => fill(entry.key, values)))];
}

// One spelling for search: small letters, and any number of a stream for the open one.
const fold = (text) => text.toLowerCase().replace(/_s(\d+|\{stream\})(?=_|$)/gm, "_s*");

// All words of a search, each somewhere in name, label, meaning, keys or value. Of a request or of a reply that was
// pasted, its names.
export function matcher(search, get) {
    const pasted = [...search.matchAll(/req=([\w.]+)|([A-Z]\w*(?:\.\w+)+)=/g)].map((match) => match[1] ?? match[2]);
    if (pasted.length) return ({name}) => pasted.includes(name);
    const words = fold(search).split(/\s+/).filter(Boolean);
    return ({name, text}) => words.every((word) => text.includes(word) || fold(get(name) ?? "").includes(word));
}

// How a value that was written reads, and how one that was read is written.
export const readForm = (type, value) => type.answers?.[value] ?? value;
export const writeForm = (type, value) =>
    Object.entries(type.answers ?? {}).find(([, answer]) => answer === value)?.[0] ?? value;

// The values to choose from; get(name) knows those that the camera lists.
export function choicesOf(type, get) {
    const listed = type.list ? (get(type.list) ?? "").split(",").filter(Boolean) : [];
    const known = type.open || !listed.length ? type.words ?? [] : [];
    return [...new Set([...listed, ...known])];
}

export function rangeOf(type, get) {
    return [type.writeMin ?? type.min, type.max]
        .map((bound) => (typeof bound === "string" ? get(bound) : bound) ?? null)
        .map((bound) => (bound === null ? null : Number(bound)));
}

// What a value looks like, in a few words.
export function describeType(type, get) {
    if (type.kind === "boolean") return "true or false";
    if (type.kind === "rectangle") return "left, top, right, bottom as fractions of the image";
    const choices = choicesOf(type, get);
    if (choices.length && type.kind !== "number") return (type.open ? "usually " : "") + choices.join(", ");
    const [min, max] = rangeOf(type, get);
    if (min !== null) return max === null ? `from ${min}` : `${min} to ${max}`;
    if (type.kind === "address") return type.names ? "an address or a host's name" : "an address";
    return type.kind === "time" ? "like 2024-02-29T22:59:59Z" : type.kind;
}

// What the catalogue says about an error of a read or of a write: in general, and of this parameter.
export function explain(catalogue, {record, type}, error, isRead, get) {
    const known = [...catalogue.messages, ...catalogue.refusals].find(({says}) => says.includes(error));
    const when = (isRead && known?.read) || known?.when;
    const texts = known ? [`${when[0].toUpperCase()}${when.slice(1)}.`] : [];
    if (error === "An illegal setting parameter") texts.push(`It takes: ${describeType(type, get)}.`);
    if (error === "Internal error" && record.mayFail) texts.push(`Here it means: ${record.mayFail}.`);
    return texts.join(" ");
}
