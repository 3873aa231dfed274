// The tree of names: a place for every word of a name, with a box that shows the parameter, or all below it. By
// keyboard as trees are: arrows, Home and End move, Enter opens, the space bar checks.
import {h} from "./dom.js";
import {matcher} from "./catalogue.js";

export class Tree {
    // onCheck(names, isOn) is told what is to be shown or not; get(name) knows values.
    constructor(root, onCheck, get) {
        this.root = root;
        this.onCheck = onCheck;
        this.get = get;
        this.parameters = [];
        this.nodes = [];
        this.byItem = new Map(); // the node of an element
        this.found = new Set(); // parameters
        this.openBefore = null;
        this.hadFocus = false;
        this.current = "";
        root.addEventListener("click", (event) => this.click(event));
        root.addEventListener("keydown", (event) => this.press(event));
        root.addEventListener("focusin", (event) => this.makeCurrent(event.target.closest("[role=treeitem]")));
    }

    // Builds it anew, for a search to come that opens again what was open. What had the focus keeps it.
    build(parameters) {
        this.openBefore ??= this.openPaths();
        this.hadFocus = this.root.contains(document.activeElement);
        this.parameters = [...parameters.values()];
        this.nodes = [];
        this.byItem.clear();
        const top = {path: "", below: [], inner: new Map(), list: this.root};
        this.root.replaceChildren();
        for (const parameter of this.parameters) this.add(top, parameter);
    }

    add(top, parameter) {
        const words = parameter.name.split(".");
        let node = top;
        for (const word of words.slice(0, -1)) {
            if (!node.inner.has(word)) node.inner.set(word, this.addInner(node, word));
            node = node.inner.get(word);
            node.below.push(parameter);
        }
        this.addLeaf(node, words.at(-1), parameter);
    }

    addInner(parent, word) {
        const list = h("ul", {role: "group"});
        const path = `${parent.path}${word}.`;
        const texts = [h("span", {class: "word"}, word)];
        const item = this.addItem(parent, path, texts, {"aria-expanded": "false"}, list);
        return this.register({path, below: [], inner: new Map(), list, item});
    }

    addLeaf(parent, word, parameter) {
        const access = parameter.isWritable ? "" : "read only";
        const note = parameter.changesCamera ? "reading it changes the camera" : access;
        const item = this.addItem(parent, parameter.name,
            [
                h("span", {class: "word"}, word), h("span", {class: "meaning"}, parameter.record.label),
                note && h("span", {class: "hidden"}, `, ${note}`)
            ],
            {class: "leaf"});
        this.register({path: parameter.name, below: [parameter], item});
    }

    addItem(parent, path, texts, attributes, ...inner) {
        const common = {role: "treeitem", tabindex: "-1", "aria-checked": "false", "data-path": path};
        const line = [h("span", {class: "twisty"}), h("span", {class: "box"}), ...texts];
        const item = h("li", {...common, ...attributes}, h("div", {class: "line"}, line), ...inner);
        parent.list.append(item);
        return item;
    }

    register(node) {
        this.nodes.push(node);
        this.byItem.set(node.item, node);
        return node;
    }

    openPaths() {
        return new Set(this.nodes.filter((node) => node.item.ariaExpanded === "true").map((node) => node.path));
    }

    // Marks what is shown.
    check(shown) {
        for (const {item, below} of this.nodes) {
            const count = below.filter((parameter) => shown.has(parameter.name)).length;
            item.ariaChecked = count === 0 ? "false" : count === below.length ? "true" : "mixed";
        }
    }

    // Leaves only what matches, opened. Returns the names.
    search(text) {
        const matches = matcher(text, this.get);
        const isSearch = text.trim() !== "";
        this.openBefore ??= this.openPaths();
        this.found = new Set(this.parameters.filter(matches));
        for (const node of this.nodes) {
            node.item.hidden = !node.below.some((parameter) => this.found.has(parameter));
            if (node.inner) this.open(node.item, isSearch || this.openBefore.has(node.path));
        }
        if (!isSearch) this.openBefore = null;
        const seen = this.seen();
        this.makeCurrent(seen.find((item) => item.dataset.path === this.current) ?? seen[0]);
        if (this.hadFocus) this.root.querySelector("[tabindex='0']")?.focus();
        this.hadFocus = false;
        return [...this.found].map((parameter) => parameter.name);
    }

    // Opens what lies above the places, and shows where the first of them is.
    unfold(places) {
        const isAbove = (node) => node.inner && places.some((place) => place.startsWith(node.path));
        this.nodes.filter(isAbove).forEach((node) => this.open(node.item, true));
        const first = this.nodes.find(({path}) => places.some((place) => path === place || path === `${place}.`));
        if (!first) return;
        this.makeCurrent(first.item);
        this.root.scrollTop = first.item.offsetTop - this.root.clientHeight / 2;
    }

    seen() { return [...this.root.querySelectorAll("[role=treeitem]")].filter((item) => item.getClientRects().length); }

    makeCurrent(item) {
        if (!item) return;
        this.root.querySelector("[tabindex='0']")?.setAttribute("tabindex", "-1");
        item.tabIndex = 0;
        this.current = item.dataset.path;
    }

    click(event) {
        const item = event.target.closest("[role=treeitem]");
        if (!item) return;
        item.focus();
        if (item.ariaExpanded && !event.target.matches(".box")) this.open(item, item.ariaExpanded !== "true");
        else this.toggle(item);
    }

    toggle(item) {
        const below = this.byItem.get(item).below.filter((parameter) => this.found.has(parameter));
        this.onCheck(below.map(({name}) => name), item.ariaChecked !== "true");
    }

    open(item, isOpen) { item.ariaExpanded = String(isOpen); }

    press(event) {
        const item = event.target.closest("[role=treeitem]");
        const seen = this.seen();
        const at = seen.indexOf(item);
        const moves = {ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: seen.length - 1};
        const isOpen = item?.ariaExpanded === "true";
        if (!item || event.ctrlKey || event.altKey || event.metaKey) return;
        if (event.key in moves) seen[moves[event.key]]?.focus();
        else if (event.key === " " || (event.key === "Enter" && !item.ariaExpanded)) this.toggle(item);
        else if (event.key === "Enter") this.open(item, !isOpen);
        else if (event.key === "ArrowRight" && isOpen) seen[at + 1]?.focus();
        else if (event.key === "ArrowRight" && item.ariaExpanded) this.open(item, true);
        else if (event.key === "ArrowLeft" && isOpen) this.open(item, false);
        else if (event.key === "ArrowLeft") item.parentElement.closest("[role=treeitem]")?.focus();
        else return;
        event.preventDefault();
    }
}
