// Puts the page together: what the camera announces makes the tree, what is checked there makes the rows.
import {loadCatalogue, rulesOf} from "./catalogue.js";
import {Reference, offerComparison} from "./compare.js";
import {Camera} from "./device.js";
import {ABOUT, Discovery} from "./discovery.js";
import {copy, counted, download, find, say} from "./dom.js";
import {showExchanges} from "./exchanges.js";
import {toCsv, toJson, toLines} from "./files.js";
import {namesAt, placesWithout, readLink, writeLink} from "./link.js";
import {CANCELLED} from "./protocol.js";
import {offerRawRequest} from "./raw.js";
import {Row, sections} from "./rows.js";
import {followLog, offerChanges} from "./simulator.js";
import {showState} from "./status.js";
import {Tree} from "./tree.js";

const FIRST_SHOWN = "General";
const PROBE_PAUSE = 5000; // ms, until a camera that is gone is asked again
const LONG_AWAY = 60_000; // ms: who looks at the page again after that may find another camera

const page = {
    catalogue: null,
    camera: null,
    tree: null,
    discovery: null,
    reference: new Reference(),
    parameters: new Map(),
    made: new Map(), // rows, those of parameters that there are not now included
    rows: new Map(),
    shown: new Set(),
    link: null,
    updateComparison: () => {}
};

async function start() {
    page.catalogue = await loadCatalogue();
    page.camera = new Camera(rulesOf(page.catalogue));
    page.tree = new Tree(find("tree"), check, page.camera.get);
    page.discovery = new Discovery(page.catalogue, page.camera, grow);
    watch(page.camera);
    listen();
    showState(page.camera);
    showExchanges(page.camera);
    offerRawRequest(page.camera, (names) => readShown(names.filter((name) => page.shown.has(name))));
    page.updateComparison = offerComparison({
        camera: page.camera,
        reference: page.reference,
        show: reveal,
        parameters: () => page.parameters,
        shown: () => [...page.rows.keys()]
    });
    page.reference.addEventListener("change", updateAll);
    offerChanges();
    followLog(lookAgain, restart);
    takeLink();
    await page.discovery.look();
    say(find("nothing"), "Choose parameters in the tree: the space bar or a click shows one, or all below a name.");
}

// What the address asks for, or the first view. Names that the camera may still announce are waited for.
function takeLink() {
    const {places, search, isEmpty, isSearch} = readLink(location.hash);
    find("search").value = search;
    page.link = {isSearch, places: isEmpty ? [FIRST_SHOWN] : places};
    page.shown.clear();
    followLink();
}

// Shows what is there of the link; the rest waits for the camera to tell all that it has.
function followLink() {
    if (!page.link) return;
    const names = [...page.parameters.keys()];
    const found = searchTree();
    const fresh = [...namesAt(page.link.places, names), ...page.link.isSearch ? found : []];
    const absent = placesWithout(page.link.places, names);
    const isOpen = page.discovery.isIncomplete;
    fresh.forEach((name) => page.shown.add(name));
    arrange();
    if (fresh.length) page.tree.unfold(page.link.places);
    if (!isOpen && absent.length) say(find("notice"), `This camera has no ${absent.join(", ")}.`);
    if (!isOpen && names.length) page.link = null;
    readShown(fresh.filter((name) => !page.camera.readings.has(name)));
}

function grow(parameters) {
    const isSame = [...parameters.keys()].join() === [...page.parameters.keys()].join();
    page.parameters = parameters;
    if (!isSame) {
        page.tree.build(parameters);
        searchTree();
        arrange();
    }
    followLink();
}

function watch(camera) {
    let isLost = false;
    let probe;
    camera.addEventListener("reading", ({detail: names}) => {
        updateRows(names);
        showCamera();
        page.updateComparison();
    });
    camera.addEventListener("asking", ({detail: names}) => updateRows(names));
    camera.addEventListener("exchange", ({detail: done}) => {
        if (done.trouble === CANCELLED) return;
        clearTimeout(probe);
        // A camera that is back may be another one, or have other values.
        if (isLost && done.status) queueMicrotask(restart);
        else if (!done.trouble && page.discovery.isIncomplete && !page.discovery.running) page.discovery.look();
        isLost = !done.status;
        if (isLost) probe = setTimeout(() => camera.read(Object.keys(ABOUT)), PROBE_PAUSE);
    });
    let left = Infinity;
    document.addEventListener("visibilitychange", () => {
        if (document.hidden) left = Date.now();
        else if (Date.now() - left > LONG_AWAY) restart();
    });
}

async function restart() {
    await page.discovery.look();
    await readShown([...page.shown]);
}

// A simulated camera was changed; one that only got a fault has the values that it had.
async function lookAgain(changes) {
    await page.discovery.look();
    if (!changes.every((change) => /^change fault \S+ (?!none)\S+$/.test(change))) await readShown([...page.shown]);
}

function updateRows(names) {
    const changed = new Set(names);
    for (const row of page.rows.values()) {
        if ([row.parameter.name, ...row.parameter.needs].some((name) => changed.has(name))) row.update();
    }
}

function updateAll() {
    page.rows.forEach((row) => row.update());
    page.updateComparison();
}

function cameraTitle() {
    const [maker, model] = Object.keys(ABOUT).map((name) => page.camera.get(name));
    return [maker, model].filter(Boolean).join(" ");
}

function showCamera() {
    const texts = Object.entries(ABOUT).map(([name, word]) => page.camera.get(name) && word + page.camera.get(name));
    say(find("camera-name"), cameraTitle() || "Camera parameters");
    say(find("camera-about"), texts.slice(2).filter(Boolean).join(" · "));
    const [unit, title] = [page.camera.get("General.UnitName"), cameraTitle()];
    document.title = [unit, title, title ? location.host : "Camera parameters"].filter(Boolean).join(" – ");
}

function listen() {
    find("search").addEventListener("input", () => {
        searchTree();
        history.replaceState(null, "", linkNow());
    });
    find("search").addEventListener("keydown", (event) => event.key === "Enter" && check(searchTree(), true));
    find("search-select").addEventListener("click", () => check(searchTree(), true));
    find("read-all").addEventListener("click", () => readShown([...page.shown]));
    find("clear").addEventListener("click", () => check([...page.shown], false));
    find("every").addEventListener("change", repeat);
    find("cancel").addEventListener("click", () => {
        find("every").value = "0";
        repeat();
    });
    addEventListener("hashchange", takeLink);
    for (const button of find("skip").children) {
        button.addEventListener("click", () => find(button.dataset.to).focus());
    }
    offerExport();
    document.addEventListener(
        "click", ({target}) => closeMenus((menu) => !menu.contains(target) || target === find("keep")));
    document.addEventListener("keydown", ({key}) => key === "Escape" && closeMenus(() => true));
    setInterval(() => page.rows.forEach((row) => row.tick()), 1000);
}

function closeMenus(isOver) {
    for (const menu of document.querySelectorAll("details.menu[open]")) {
        if (!isOver(menu)) continue;
        if (menu.contains(document.activeElement)) menu.querySelector("summary").focus();
        menu.removeAttribute("open");
    }
}

function offerExport() {
    const makers = {
        json: ["application/json", (names) => toJson(cameraTitle(), names, page.camera.readings)],
        csv: ["text/csv", (names) => toCsv(names, page.camera.readings)]
    };
    for (const button of find("export").querySelectorAll("button[data-form]")) {
        button.addEventListener("click", async () => {
            const names = await exported();
            const [type, make] = makers[button.dataset.form];
            const title = (page.camera.get("General.UnitName") || "camera").replace(/[^\w-]+/g, "-");
            download(`${title}.${button.dataset.form}`, type, make(names));
        });
    }
    find("export-copy")
        .addEventListener(
            "click", async (event) => copy(toLines(await exported(), page.camera.readings), event.target));
}

// The names to export; all of them are read first.
async function exported() {
    const isAll = find("export-all").checked;
    const names = [...page.parameters.keys()].filter((name) => isAll || page.shown.has(name));
    if (isAll) await page.camera.read(names.filter((name) => !page.parameters.get(name).changesCamera));
    return names;
}

function searchTree() {
    const text = find("search").value;
    const names = page.tree.search(text);
    const all = page.parameters.size;
    find("search-select").disabled = !names.length;
    say(find("search-count"), text.trim() ? `${names.length} of ${all}` : `${all} parameters`);
    return names;
}

const linkNow = () => writeLink(page.shown, [...page.parameters.keys()], find("search").value.trim());

// Shows or no longer shows the parameters, and reads those that are new; the browser's back button takes it back.
function check(names, isOn) {
    const fresh = names.filter((name) => isOn && !page.shown.has(name));
    page.link = null;
    names.forEach((name) => (isOn ? page.shown.add(name) : page.shown.delete(name)));
    arrange();
    if (linkNow() !== location.hash) history.pushState(null, "", linkNow());
    // Only where the tree does not move away with it.
    const isBeside = find("columns").clientHeight < document.documentElement.clientHeight;
    if (fresh.length && isBeside) page.rows.get(fresh[0]).element.scrollIntoView({block: "nearest"});
    readShown(fresh);
}

// Shows those of the names that the camera has, and reads all of them anew.
function reveal(names) {
    check(names.filter((name) => page.parameters.has(name)), true);
    readShown([...page.shown]);
}

function arrange() {
    const names = [...page.parameters.keys()].filter((name) => page.shown.has(name));
    // A camera that lacks a parameter for a moment, as some do that are ill, takes no edit away.
    for (const name of names) page.made.set(name, page.made.get(name) ?? makeRow(name));
    for (const name of [...page.made.keys()].filter((name) => !page.shown.has(name))) page.made.delete(name);
    page.rows = new Map(names.map((name) => [name, page.made.get(name)]));
    find("rows").replaceChildren(...sections([...page.rows.values()]));
    find("nothing").hidden = names.length > 0;
    page.tree.check(page.shown);
    say(find("notice"), "");
    const count = names.filter((name) => !page.parameters.get(name)?.changesCamera).length;
    find("read-all").textContent = `Read all ${count || ""}`.trim();
    find("read-all").disabled = find("clear").disabled = !names.length;
    page.updateComparison();
}

const makeRow = (name) => new Row(page.parameters.get(name), page, remove);

// The focus goes on to the next row.
function remove(row) {
    const names = [...page.rows.keys()];
    const next = names[names.indexOf(row.parameter.name) + 1];
    check([row.parameter.name], false);
    (page.rows.get(next)?.element.querySelector(".tools button:last-child") ?? find("search")).focus();
}

// What a parameter's widget needs is read with it. A read that changes the camera is only made by the row's own button.
async function readShown(names) {
    const wanted = names.map((name) => page.parameters.get(name)).filter((found) => found && !found.changesCamera);
    if (!wanted.length) return;
    const start = Date.now();
    await page.camera.read(wanted.map(({name}) => name), wanted.flatMap(({needs}) => needs));
    const readings = wanted.map(({name}) => page.camera.readings.get(name));
    const made = readings.filter((reading) => reading?.start >= start);
    const failed = made.filter(({value, trouble}) => value === undefined || trouble);
    const missing = wanted.length - made.length;
    const old = readings.filter((reading) => reading?.start < start).length; // still shown, with their age
    say(find("summary"), [
        `${counted(made.length, "value")} read`, failed.length && `${failed.length} with an error`,
        old && `${old} not read again`, missing > old && `${missing - old} not read`
    ].filter(Boolean).join(", "));
}

let timer;

async function repeat() {
    clearTimeout(timer);
    const seconds = Number(find("every").value);
    if (!seconds) return;
    await readShown([...page.shown]);
    clearTimeout(timer);
    timer = setTimeout(repeat, seconds * 1000);
}

start().catch((error) => {
    say(find("camera-state"), `The page cannot start: ${error.message}`);
    find("camera-state").classList.add("wrong");
});
