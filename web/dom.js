// Elements made without markup: a text always becomes a text node, so nothing that a camera says becomes an element.

// Attributes that are false or null are left out; those named on... listen.
export function h(tag, attributes = {}, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
        else if (value !== false && value != null) element.setAttribute(name, value === true ? "" : value);
    }
    element.append(...children.flat().filter((child) => child != null && child !== "" && child !== false));
    return element;
}

export const find = (id) => document.getElementById(id);

// A live region speaks whenever it is written, so a text that is there already is not written again.
export function say(element, text) {
    if (element.textContent !== text) element.textContent = text;
}

// Copies what an element says or, where the browser forbids that, as on http:// beyond this machine, selects it.
export async function copy(element, button) {
    const label = button.textContent;
    getSelection().selectAllChildren(element);
    const copied = navigator.clipboard?.writeText(element.textContent) ?? Promise.reject();
    button.textContent = await copied.then(() => "Copied", () => "Selected");
    setTimeout(() => (button.textContent = label), 1500);
}
