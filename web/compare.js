// What was read before a change, or on another camera, and what of it is different now.
import {counted, find, say, timeOf} from "./dom.js";
import {fromFile} from "./files.js";

export class Reference extends EventTarget {
    constructor() {
        super();
        this.title = "";
        this.values = new Map(); // by name
    }

    set(title, values) {
        this.title = title;
        this.values = values;
        this.dispatchEvent(new Event("change"));
    }

    // What a value was, where it is another one now; else an empty text.
    difference(name, reading) {
        const was = this.values.get(name);
        if (was === undefined || !reading || reading.trouble || reading.value === was) return "";
        return `was ${was || "an empty text"}`;
    }
}

// The buttons and the line about it. context: {camera, reference, parameters(), shown(), show(names)}.
export function offerComparison({camera, reference, parameters, shown, show}) {
    find("keep").addEventListener("click", () => {
        const known = [...camera.readings].filter(([, reading]) => reading.value !== undefined);
        reference.set(`what was read until ${timeOf(Date.now())}`,
            new Map(known.map(([name, reading]) => [name, reading.value])));
        find("compare-only").checked = false;
    });
    find("compare-file").addEventListener("change", async () => {
        const [file] = find("compare-file").files;
        find("compare-file").value = ""; // so that the same one can be chosen again
        const names = file ? await takeFile(file, reference) : [];
        if (names.length) show(names);
    });
    find("compare-stop").addEventListener("click", () => reference.set("", new Map()));
    const update = () => {
        find("compare").hidden = !reference.title;
        find("rows").classList.toggle("only-differences", Boolean(reference.title) && find("compare-only").checked);
        if (!reference.title) return;
        const names = [...reference.values.keys()];
        const differing = shown().filter((name) => reference.difference(name, camera.readings.get(name)));
        const absent = names.filter((name) => !parameters().has(name));
        const unseen = names.length - absent.length - shown().filter((name) => reference.values.has(name)).length;
        say(find("compare-text"), [
            `Compared with ${reference.title}: ${differing.length ? counted(differing.length, "value") : "no value"} `,
            differing.length > 1 ? "differ." : "differs.", unseen > 0 ? ` ${unseen} more are not shown.` : "",
            absent.length ? ` This camera lacks ${counted(absent.length, "parameter")} of it.` : ""
        ].join(""));
    };
    find("compare-only").addEventListener("change", update);
    return update;
}

// Returns the names in it; none, if it cannot be compared with.
async function takeFile(file, reference) {
    try {
        const {title, made, values} = fromFile(await file.text());
        reference.set([file.name, title, made].filter(Boolean).join(", "), values);
        find("compare-only").checked = true;
        return [...values.keys()];
    } catch (error) {
        say(find("notice"), `${file.name}: ${error.message}`);
        return [];
    }
}
