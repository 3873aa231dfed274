// What is said about a value before it is sent: {refuse}, why it is not sent, as its type takes none like it; {ask},
// what speaks against it where only the camera may judge; or {}.
import {choicesOf, describeType, rangeOf} from "./catalogue.js";

const TIME = /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?Z$/;
const ADDRESS = /^(25[0-5]|2[0-4]\d|1?\d?\d)(\.(25[0-5]|2[0-4]\d|1?\d?\d)){3}$/;
const HOST = /^[a-z\d]([a-z\d.-]*[a-z\d])?$/i;

const refuse = (reason) => ({refuse: reason});
const ask = (reason) => ({ask: reason});

/** @type {Record<string, (text: string, type: any, get: any) => {refuse?: string, ask?: string}>} */
const JUDGES = {
    number(text, type, get) {
        if (text === "") return refuse("It is empty; a number is wanted.");
        if (!/^-?\d+$/.test(text) && !choicesOf(type, get).includes(text)) {
            return refuse(`“${text}” is no whole number.`);
        }
        const [min, max] = rangeOf(type, get);
        const isOutside = (min !== null && Number(text) < min) || (max !== null && Number(text) > max);
        return isOutside ? ask(`It takes ${describeType(type, get)}.`) : {};
    },
    rectangle(text) {
        const sides = text.split(",");
        if (sides.length !== 4 || !sides.every((side) => /^\d+(\.\d*)?$|^\.\d+$/.test(side))) {
            return refuse("Four numbers are wanted, such as 0.25: digits, with a point in front of fractions.");
        }
        const [left, top, right, bottom] = sides.map(Number);
        if (Math.max(left, top, right, bottom) > 1) return refuse("It leaves the image, which ends at 1.");
        return left < right && top < bottom ? {} : refuse("Right is not beyond left, or bottom is not beyond top.");
    },
    time: (text) => (TIME.test(text) && !Number.isNaN(Date.parse(text))
            ? {}
            : refuse(`“${text}” is no date and time like 2024-02-29T22:59:59Z.`)),
    address: (text, type) => (ADDRESS.test(text) || (type.names && HOST.test(text)) || (type.empty && !text)
            ? {}
            : ask(`“${text}” is not ${type.names ? "an address or a host's name" : "an address like 192.168.1.20"}.`)),
    words(text, type, get) {
        const choices = choicesOf(type, get);
        return !choices.length || choices.includes(text) ? {} : ask(`It is usually one of ${choices.join(", ")}.`);
    },
    text: (text, type) => (text || type.empty ? {} : ask("It is empty.")),
};

// Of a parameter's text, as it is to be sent; reading is what the camera has.
export function judge({type, record, keys}, text, reading, {get, limits}) {
    const size = new TextEncoder().encode(text).length;
    if (size > limits.written.max) return refuse(`It has ${size} characters; at most ${limits.written.max} are taken.`);
    if (/[\r\n]|%0[ad]/i.test(text)) return refuse("A line end in a value is never written.");
    const room = limits.repeated.max - Math.max(0, ...keys.map((key) => key.length + 1));
    const own = JUDGES[type.kind]?.(text, type, get) ?? {};
    if (own.refuse || own.ask) return own;
    if (size > room) return ask(`Of more than ${room} characters the camera may take a part.`);
    if (reading?.isRaw) return ask("What the camera has are bytes that are no UTF-8; this is another text.");
    if (record.keep && text === reading?.value) return ask(`What was read is better not written back: ${record.keep}.`);
    return {};
}
