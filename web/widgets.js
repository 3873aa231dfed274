// What a value is edited with, by its type. A widget has its elements, its fields (those that can be wrong),
// show(value), get() and hint(), which says what it takes.
import {choicesOf, describeType, rangeOf, writeForm} from "./catalogue.js";
import {h, stepByArrows} from "./dom.js";
import {makeRectangle} from "./rectangle.js";

export function makeWidget(parameter, camera, id) {
    const {type} = parameter;
    const names = {"aria-labelledby": `${id}-name`, "aria-describedby": `${id}-hint ${id}-message`};
    if (type.kind === "boolean") return makeSwitch(names);
    if (type.kind === "rectangle") return makeRectangle(parameter, names);
    if (type.kind === "words" && !type.open) return makeSelect(type, camera, names);
    return makeField(type, camera, names, `${id}-choices`);
}

function makeSwitch(names) {
    const box = h("input", {type: "checkbox", role: "switch", ...names});
    const word = h("span", {class: "reading", "aria-hidden": "true"});
    return {
        elements: [box, word],
        fields: [box],
        hint: () => "",
        get: () => String(box.checked),
        show(value) {
            box.checked = value === "true";
            word.textContent = value || "—";
        },
    };
}

// A value that is no choice becomes one: the camera may well hold it.
function makeSelect(type, camera, names) {
    const select = h("select", names);
    let shown = "";
    return {
        elements: [select],
        fields: [select],
        hint: () => "",
        get: () => select.value,
        show(value) {
            const choices = choicesOf(type, camera.get);
            const known = (choice) => choice === value || type.answers?.[choice] === value;
            const all = choices.some(known) ? choices : [value, ...choices];
            if (String([value, ...all]) === shown && select.value === writeForm(type, value)) return; // it may be open
            shown = String([value, ...all]);
            const told = (choice) => (type.answers?.[choice] ? ` (reads ${type.answers[choice]})` : "");
            const label = (choice) => choice + told(choice) || "—";
            select.replaceChildren(
                ...all.map((choice) => h("option", {value: choice, selected: known(choice)}, label(choice))));
        },
    };
}

// A number or a text; what is wrong with it is said when it is to be sent.
function makeField(type, camera, names, listId) {
    const isNumber = type.kind === "number";
    const list = type.list || type.words ? h("datalist", {id: listId}) : null;
    const field = h("input", {
        ...names,
        type: "text",
        inputmode: isNumber && "numeric",
        list: list && listId,
        autocomplete: "off",
        spellcheck: "false"
    });
    if (isNumber && !list) stepByArrows(field, 1, () => rangeOf(type, camera.get));
    return {
        elements: [field, list],
        fields: [field],
        hint: () => (type.kind === "text" ? "" : describeType(type, camera.get)),
        get: () => field.value,
        show(value) {
            field.value = value;
            list?.replaceChildren(...choicesOf(type, camera.get).map((choice) => h("option", {value: choice})));
        },
    };
}
