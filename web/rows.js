// The parameters that are shown, under the part of the name that they share: value, age, what the program said of it,
// and a widget where it can be written.
import {explain, readForm, writeForm} from "./catalogue.js";
import {breakable, h, say, timeOf} from "./dom.js";
import {judge} from "./judge.js";
import {outcomeOf} from "./outcome.js";
import {makeWidget} from "./widgets.js";

let rowCount = 0;

// A button that is only a sign; its label says what it does.
const signButton = (sign, label, attributes) =>
    h("button", {type: "button", class: "quiet", title: label, "aria-label": label, ...attributes}, sign);

export class Row {
    // context: the catalogue, the camera, the reference that values are compared with.
    constructor(parameter, {catalogue, camera, reference}, onRemove) {
        this.parameter = parameter;
        this.catalogue = catalogue;
        this.camera = camera;
        this.reference = reference;
        this.id = `row-${++rowCount}`;
        this.isEdited = this.isSending = false;
        this.sentAt = 0;
        this.outcome = null; // what came of the last write
        this.verdict = {}; // what speaks against sending what was typed
        this.widget = parameter.isWritable ? makeWidget(parameter, camera, this.id) : null;
        this.element = this.build(onRemove);
        this.update();
    }

    build(onRemove) {
        const {parameter, id} = this;
        const {name, record} = parameter;
        this.age = h("span", {class: "age"});
        this.message = h("div", {class: "message", id: `${id}-message`, role: "status"});
        this.value = h("output", {class: "reading", "aria-labelledby": `${id}-name`});
        this.hint = h("span", {class: "hint", id: `${id}-hint`});
        this.kept = h("span", {class: "kept"});
        this.was = h("span", {class: "was"});
        this.about = this.buildAbout();
        const place = h("span", {class: "hidden"}, name.slice(0, name.lastIndexOf(".") + 1));
        const read = parameter.changesCamera
            ? h("button", {type: "button", "aria-label": `Read ${name}`, onclick: () => this.read()}, "Read")
            : signButton("↻", `Read ${name}`, {onclick: () => this.read()});
        const remove = signButton("✕", `Remove ${name}`, {onclick: () => onRemove(this)});
        return h("li", {class: "row", "data-name": name},
            h("div", {class: "what"},
                h("span", {class: "name", id: `${id}-name`}, place, breakable(name.split(".").at(-1))),
                h("span", {class: "label"}, record.label)),
            this.widget ? this.buildForm() : h("div", {class: "value"}, this.value, this.buildUnit(), this.was),
            h("div", {class: "tools"}, this.age, read, this.buildToggle(), remove), this.message, this.about);
    }

    buildUnit() {
        const {unit} = this.parameter.type;
        return unit && h("span", {class: "unit"}, unit);
    }

    buildForm() {
        const {type} = this.parameter;
        this.set = h("button", {type: "submit", disabled: true, hidden: type.kind === "boolean"}, "Set");
        const form = h("form", {class: `value ${type.kind}`, novalidate: true}, this.widget.elements, this.buildUnit(),
            this.hint, this.set, this.kept, this.was);
        form.addEventListener("input", () => this.edit());
        form.addEventListener("keydown", (event) => event.key === "Escape" && this.restore());
        form.addEventListener("submit", (event) => {
            event.preventDefault();
            this.submit();
        });
        if (type.kind === "boolean") form.addEventListener("change", () => this.submit());
        return form;
    }

    buildToggle() {
        const toggle =
            signButton("?", `About ${this.parameter.name}`, {"aria-expanded": "false", "aria-controls": this.about.id});
        toggle.addEventListener("click", () => {
            this.about.hidden = !this.about.hidden;
            toggle.ariaExpanded = String(!this.about.hidden);
        });
        return toggle;
    }

    buildAbout() {
        const {record, keys, name} = this.parameter;
        const keep = record.keep && `What was read is better not written back: ${record.keep}.`;
        const texts = [record.anything, keep, ...record.notes ?? []].filter(Boolean);
        return h("div", {class: "about", id: `${this.id}-about`, hidden: true},
            h("p", {}, h("code", {}, breakable(name)), ` ${record.meaning}`),
            keys.length > 0 && h("p", {}, "Camera keys: ", ...keys.flatMap((key) => [h("code", {}, key), " "])),
            texts.map((text) => h("p", {}, text)));
    }

    // A read by hand takes an edit back: what is shown then is what the camera says.
    read() {
        const {outcome} = this;
        this.restore();
        if (outcome?.lost !== undefined) this.outcome = outcome;
        return this.camera.read([this.parameter.name, ...this.parameter.needs]);
    }

    restore() {
        Object.assign(this, {isEdited: false, outcome: null, verdict: {}});
        this.update();
    }

    edit() {
        Object.assign(this, {isEdited: true, outcome: null, verdict: {}});
        this.update();
    }

    // Sends what is in the widget: at once, or, when something speaks against it, once it is asked for again.
    submit() {
        const {camera, parameter, verdict} = this;
        const value = writeForm(parameter.type, this.widget.get());
        const reading = camera.readings.get(parameter.name);
        const rules = {get: camera.get, limits: this.catalogue.limits};
        this.verdict = verdict.ask ? {} : judge(parameter, value, reading, rules);
        if (this.isSending || this.verdict.refuse || this.verdict.ask) this.update();
        else this.write(value);
    }

    async write(value) {
        const {camera, parameter: {name, type}} = this;
        const before = camera.get(name);
        Object.assign(this, {sentAt: Date.now(), isSending: true, outcome: null});
        this.update();
        this.outcome = outcomeOf(type, value, before, await camera.write(name, value));
        this.outcome.at = Date.now();
        this.isSending = false;
        // A refused value stays in its field to be corrected, as does what was typed meanwhile. A switch has neither.
        const isOther = writeForm(type, this.widget.get()) !== value;
        this.isEdited = type.kind !== "boolean" && Boolean(this.outcome.isBad || isOther);
        this.update();
    }

    // Shows what is known now.
    update() {
        const {camera, widget, parameter} = this;
        const reading = camera.readings.get(parameter.name);
        this.ageOutcome(reading);
        this.element.classList.toggle("asking", camera.asking.has(parameter.name));
        this.element.classList.toggle("edited", this.isEdited);
        if (widget) {
            this.set.disabled = !this.isEdited || this.isSending;
            this.set.textContent = this.verdict.ask ? "Send it all the same" : "Set";
            say(this.hint, widget.hint());
            if (!this.isEdited) widget.show(reading?.value ?? "");
        }
        const text = parameter.type.kind === "list" ? reading?.value?.replaceAll(",", ", ") : reading?.value;
        this.value.textContent = text ?? "—";
        this.showBeside(reading);
        this.showMessage(this.messageNow(reading));
        this.tick();
    }

    // What came of a write belongs to its moment: a newer reading takes its place, or confirms it. A write that was
    // lost stays so until the camera has something else.
    ageOutcome(reading) {
        const {value, lost, at} = this.outcome ?? {};
        if (!(reading?.start > at) || (lost !== undefined && lost === reading.value)) return;
        const isConfirmed = value !== undefined && value === reading.value && !reading.trouble;
        this.outcome = isConfirmed ? {...this.outcome, text: `Written at ${timeOf(at)}.`} : null;
    }

    // An edit beside what the camera has, and what is compared with it.
    showBeside(reading) {
        const {name, type} = this.parameter;
        const isKnown = this.isEdited && reading?.value !== undefined;
        const isKept = isKnown && readForm(type, this.widget.get()) !== reading.value;
        say(this.kept, isKept ? `The camera has ${reading.value || "an empty text"}.` : "");
        const difference = this.reference.difference(name, reading);
        say(this.was, difference);
        this.element.classList.toggle("differs", difference !== "");
    }

    messageNow(reading) {
        if (this.isSending) return {text: "Sending…"};
        if (this.verdict.refuse) return {text: "Not sent.", remark: this.verdict.refuse, isBad: true};
        if (this.verdict.ask) return {text: "Not sent yet.", remark: this.verdict.ask, isDoubtful: true};
        return this.outcome ?? {...reading, isRead: true};
    }

    showMessage({text, error, trouble, remark, isBad, isDoubtful, isRead}) {
        const waits = this.parameter.changesCamera && !this.camera.readings.has(this.parameter.name);
        const lines = [
            ["words", error ?? trouble ?? text],
            ["why", error && explain(this.catalogue, this.parameter, error, isRead, this.camera.get)],
            ["why", remark],
            ["why", waits && "Reading it changes the camera, so it is only read when asked for here."],
        ].filter(([, line]) => line);
        const isWrong = Boolean(error ?? trouble ?? isBad);
        // A live region speaks whenever it is written.
        if (lines.map(([, line]) => line).join("") !== this.message.textContent) {
            this.message.replaceChildren(...lines.map(([kind, line]) => h("p", {class: kind}, line)));
        }
        this.element.classList.toggle("wrong", isWrong);
        this.element.classList.toggle("doubtful", Boolean(isDoubtful));
        this.widget?.fields.forEach((field) => field.setAttribute("aria-invalid", isWrong));
    }

    tick(now = Date.now()) {
        const {camera, parameter: {name}} = this;
        const begun = this.isSending ? this.sentAt : camera.asking.get(name)?.start;
        const waited = Math.floor((now - begun) / 1000);
        const wait = `${this.isSending ? "sending" : "asking"}…${waited > 1 ? ` ${waited} s` : ""}`;
        say(this.age, begun ? wait : ageText(now - camera.readings.get(name)?.at));
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
    return [...groups].map(([place, elements]) => h(
                               "section", {"aria-label": place}, h("h2", {}, breakable(place)), h("ul", {}, elements)));
}
