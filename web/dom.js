// Elements made without markup: a text always becomes a text node, so nothing that a camera says becomes an element.

// Attributes that are false or null are left out; those named on... listen.
/** @returns {any} */
export function h(tag, attributes = {}, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
        else if (value !== false && value != null) element.setAttribute(name, value === true ? "" : value);
    }
    element.append(...children.flat().filter((child) => child != null && child !== "" && child !== false));
    return element;
}

/** @returns {any} */
export const find = (id) => document.getElementById(id);

// A live region speaks whenever it is written, so a text that is there already is not written again.
export function say(element, text) {
    if (element.textContent !== text) element.textContent = text;
}

// A name that breaks at its dots or between its words, where there is no room for it on one line.
export const breakable = (name) =>
    name.split(/(?<=\.)|(?<=[a-z])(?=[A-Z])/).flatMap((word, i) => (i ? [h("wbr"), word] : [word]));

export const timeOf = (time) => new Date(time).toTimeString().slice(0, 8);
export const counted = (number, word) => `${number} ${word}${number === 1 ? "" : "s"}`;

// Where the browser has no clipboard, as on http:// beyond this machine, it still copies what is selected.
export async function copy(text, button) {
    const label = button.textContent;
    const copied = navigator.clipboard?.writeText(text) ?? Promise.reject();
    const isCopied = await copied.then(() => true, () => copySelected(text));
    button.textContent = isCopied ? "Copied" : "Not copied";
    button.focus();
    setTimeout(() => (button.textContent = label), 1500);
}

function copySelected(text) {
    const field = h("textarea", {class: "hidden"});
    field.value = text;
    document.body.append(field);
    field.select();
    const isCopied = document.execCommand("copy");
    field.remove();
    return isCopied;
}

export function download(name, type, text) {
    const url = URL.createObjectURL(new Blob([text], {type}));
    h("a", {href: url, download: name}).click();
    setTimeout(() => URL.revokeObjectURL(url), 10_000);
}

// A field whose number the up and down keys change, within its range. (A browser's own fields for numbers change what
// is typed silently, 0,5 to 05, and hide what is half typed.)
export function stepByArrows(field, step, range) {
    field.addEventListener("keydown", (event) => {
        const way = {ArrowUp: step, ArrowDown: -step}[event.key];
        if (!way || !/^-?\d+(\.\d+)?$/.test(field.value)) return;
        event.preventDefault();
        const [min, max] = range();
        const value = Math.min(max ?? Infinity, Math.max(min ?? -Infinity, Number(field.value) + way));
        field.value = String(Number(value.toFixed(4)));
        field.dispatchEvent(new Event("input", {bubbles: true}));
    });
}
