// The parameters that are shown, under the part of the name that they share: value, age, what the program said of it,
// and a widget where it can be written.
import { h, say } from "./dom.js";
import { explain, readForm, writeForm } from "./catalogue.js";
import { makeWidget } from "./widgets.js";

let rowCount = 0;

// A button that is only a sign; its label says what it does.
const signButton = (sign, label, attributes) =>
    h("button", { type: "button", class: "quiet", title: label, "aria-label": label, ...attributes }, sign);

export class Row {
    constructor(parameter, catalogue, camera, onRemove) {
        Object.assign(this, { parameter, catalogue, camera, id: `row-${++rowCount}`, outcome: null, isEdited: false,
                              isSending: false });
        this.widget = parameter.isWritable ? makeWidget(parameter, camera, this.id) : null;
        this.element = this.build(onRemove);
        this.update();
    }

    build(onRemove) {
        const { parameter, id } = this;
        const { name, record } = parameter;
        this.age = h("span", { class: "age" });
        this.message = h("div", { class: "message", id: `${id}-message`, role: "status" });
        this.value = h("output", { class: "reading", "aria-labelledby": `${id}-name` });
        this.hint = h("span", { class: "hint", id: `${id}-hint` });
        this.about = this.buildAbout();
        const place = h("span", { class: "hidden" }, name.slice(0, name.lastIndexOf(".") + 1));
        const read = parameter.changesCamera
            ? h("button", { type: "button", "aria-label": `Read ${name}`, onclick: () => this.read() }, "Read")
            : signButton("↻", `Read ${name}`, { onclick: () => this.read() });
        const remove = signButton("✕", `Remove ${name}`, { onclick: () => onRemove(this) });
        return h("li", { class: "row", "data-name": name },
            h("div", { class: "what" },
                h("span", { class: "name", id: `${id}-name` }, place, name.split(".").at(-1)),
                h("span", { class: "label" }, record.label)),
            this.widget ? this.buildForm() : h("div", { class: "value" }, this.value, this.buildUnit()),
            h("div", { class: "tools" }, this.age, read, this.buildToggle(), remove),
            this.message, this.about);
    }

    buildUnit() {
        const { unit } = this.parameter.type;
        return unit && h("span", { class: "unit" }, unit);
    }

    buildForm() {
        const { type } = this.parameter;
        this.set = h("button", { type: "submit", disabled: true, hidden: type.kind === "boolean" }, "Set");
        const form = h("form", { class: `value ${type.kind}`, novalidate: true },
            this.widget.elements, this.buildUnit(), this.hint, this.set);
        form.addEventListener("input", () => this.edit());
        form.addEventListener("keydown", (event) => event.key === "Escape" && this.restore());
        form.addEventListener("submit", (event) => {
            event.preventDefault();
            this.write();
        });
        if (type.kind === "boolean") form.addEventListener("change", () => this.write());
        return form;
    }

    buildToggle() {
        const toggle = signButton("?", `About ${this.parameter.name}`,
            { "aria-expanded": "false", "aria-controls": this.about.id });
        toggle.addEventListener("click", () => {
            this.about.hidden = !this.about.hidden;
            toggle.ariaExpanded = String(!this.about.hidden);
        });
        return toggle;
    }

    buildAbout() {
        const { record, keys, name } = this.parameter;
        const keep = record.keep && `What was read is better not written back: ${record.keep}.`;
        const texts = [record.anything, keep, ...record.notes ?? []].filter(Boolean);
        return h("div", { class: "about", id: `${this.id}-about`, hidden: true },
            h("p", {}, h("code", {}, name), ` ${record.meaning}`),
            keys.length > 0 && h("p", {}, "Camera keys: ", ...keys.flatMap((key) => [h("code", {}, key), " "])),
            texts.map((text) => h("p", {}, text)));
    }

    // A read by hand takes an edit back: what is shown then is what the camera says.
    read() {
        this.restore();
        return this.camera.read([this.parameter.name, ...this.parameter.needs]);
    }

    restore() {
        Object.assign(this, { isEdited: false, outcome: null });
        this.update();
    }

    edit() {
        Object.assign(this, { isEdited: true, outcome: null });
        this.update();
    }

    async write() {
        const { camera, parameter: { name, type } } = this;
        const value = writeForm(type, this.widget.get());
        Object.assign(this, { isSending: true, outcome: { text: "Sending…" } });
        this.update();
        const answer = await camera.write(name, value);
        this.isSending = false;
        const reads = camera.get(name);
        if (answer.value === undefined) this.outcome = { ...answer, isBad: true };
        else if (reads === undefined) this.outcome = { text: "Accepted, but it cannot be read back.", isBad: true };
        else if (reads === readForm(type, value)) this.outcome = { text: "Written.", ...answer };
        else this.outcome = { text: `Accepted, reads ${reads || "an empty text"}.`, ...answer };
        // A refused value stays in its field to be corrected, as does what was typed meanwhile. A switch has neither.
        const isOther = writeForm(type, this.widget.get()) !== value;
        this.isEdited = type.kind !== "boolean" && Boolean(this.outcome.isBad || isOther);
        this.update();
    }

    // Shows what is known now.
    update() {
        const { camera, widget, parameter } = this;
        const reading = camera.readings.get(parameter.name);
        this.element.classList.toggle("asking", camera.asking.has(parameter.name));
        this.element.classList.toggle("edited", this.isEdited);
        if (widget) {
            this.set.disabled = !this.isEdited || this.isSending;
            say(this.hint, widget.hint());
            if (!this.isEdited) widget.show(reading?.value ?? "");
        }
        const text = parameter.type.kind === "list" ? reading?.value?.replaceAll(",", ", ") : reading?.value;
        this.value.textContent = text ?? "—";
        this.showMessage((reading?.trouble ? reading : this.outcome ?? reading) ?? {});
        this.tick();
    }

    showMessage({ text, error, trouble, remark, isBad }) {
        const waits = this.parameter.changesCamera && !this.camera.readings.has(this.parameter.name);
        const lines = [
            ["words", error ?? trouble ?? text],
            ["why", error && explain(this.catalogue, this.parameter, error, this.camera.get)],
            ["why", remark],
            ["why", waits && "Reading it changes the camera, so it is only read when asked for here."],
        ].filter(([, line]) => line);
        const isWrong = Boolean(error ?? trouble ?? isBad);
        // A live region speaks whenever it is written.
        if (lines.map(([, line]) => line).join("") !== this.message.textContent) {
            this.message.replaceChildren(...lines.map(([kind, line]) => h("p", { class: kind }, line)));
        }
        this.element.classList.toggle("wrong", isWrong);
        this.widget?.fields.forEach((field) => field.setAttribute("aria-invalid", isWrong));
    }

    tick(now = Date.now()) {
        const { camera, parameter } = this;
        const age = now - camera.readings.get(parameter.name)?.at;
        say(this.age, camera.asking.has(parameter.name) ? "asking…" : ageText(age));
    }
}

function ageText(age) {
    const seconds = Math.round(age / 1000);
    if (Number.isNaN(seconds)) return "";
    if (seconds < 2) return "now";
    return seconds < 120 ? `${seconds} s` : `${Math.round(seconds / 60)} min`;
}

// One list for each beginning that names share, in the order given.
export function sections(rows) {
    const groups = new Map();
    for (const row of rows) {
        const place = row.parameter.name.split(".").slice(0, -1).join(".");
        groups.set(place, [...groups.get(place) ?? [], row.element]);
    }
    return [...groups].map(([place, elements]) =>
        h("section", { "aria-label": place }, h("h2", {}, place), h("ul", {}, elements)));
}
