// Puts the page together: what the camera announces makes the tree, what is checked there makes the rows.
import { Camera } from "./device.js";
import { aloneTest, expand, loadCatalogue } from "./catalogue.js";
import { find, say } from "./dom.js";
import { followLog, showExchanges, showSimulator } from "./panels.js";
import { Row, sections } from "./rows.js";
import { Tree } from "./tree.js";

const ABOUT = { "General.Brand.CompanyName": "", "General.Brand.ModelName": "", "General.UnitName": "",
                "General.FirmwareVersion": "firmware ", "General.ProtocolVersion": "protocol " };
const FIRST_SHOWN = /^General\./;

const page = { parameters: new Map(), counts: new Map(), rows: new Map(), shown: new Set() };

async function start() {
    page.catalogue = await loadCatalogue();
    page.camera = new Camera(aloneTest(page.catalogue));
    page.tree = new Tree(find("tree"), show);
    watch(page.camera);
    listen();
    showExchanges(page.camera);
    showSimulator();
    followLog(discover);
    await discover();
    const linked = decodeURIComponent(location.hash.slice(1)).split(",");
    const names = [...page.parameters.keys()];
    const first = names.filter((name) => linked.includes(name));
    show(first.length ? first : names.filter((name) => FIRST_SHOWN.test(name)), true);
}

// Asks for the counts that make the tree, and for those that only then are known to matter, to the end.
async function lookAround() {
    const asked = new Set();
    let [found, missing] = [null, Object.keys(ABOUT)];
    while (missing.length) {
        await page.camera.read(missing);
        missing.forEach((name) => asked.add(name));
        found = expand(page.catalogue, countOf);
        missing = [...found.bounds].filter((name) => !asked.has(name) && !found.parameters.get(name)?.changesCamera);
    }
    grow(found);
    page.isIncomplete = [...found.bounds].some((name) => page.camera.readings.get(name)?.trouble);
}

// One at a time; who asks meanwhile gets another one.
async function discover() {
    page.isStale = true;
    page.discovery ??= (async () => {
        while (page.isStale) {
            page.isStale = false;
            await lookAround();
        }
        page.discovery = null;
    })();
    await page.discovery;
}

// A camera that fails to tell a count still has what it had.
const countOf = (name) => page.camera.get(name) ?? page.counts.get(name);

function grow({ parameters, bounds }) {
    const isSame = [...parameters.keys()].join() === [...page.parameters.keys()].join();
    page.counts = new Map([...bounds].map((name) => [name, countOf(name)]));
    page.parameters = parameters;
    if (isSame) return;
    page.tree.build(parameters);
    search();
    arrange();
}

function watch(camera) {
    camera.addEventListener("reading", ({ detail: names }) => {
        updateRows(names);
        showCamera();
        const isOther = (name) => page.counts.has(name) && page.counts.get(name) !== countOf(name);
        if (!page.discovery && names.some(isOther)) discover();
    });
    camera.addEventListener("asking", ({ detail: names }) => updateRows(names));
    camera.addEventListener("exchange", ({ detail: done }) => {
        // A camera that is back is asked again for what it could not tell.
        if (page.isIncomplete && !done.trouble) queueMicrotask(discover);
        page.isIncomplete &&= Boolean(done.trouble);
        say(find("camera-state"), done.trouble || "The camera answers.");
        find("camera-state").classList.toggle("wrong", Boolean(done.trouble));
    });
}

function updateRows(names) {
    const changed = new Set(names);
    for (const row of page.rows.values()) {
        if ([row.parameter.name, ...row.parameter.needs].some((name) => changed.has(name))) row.update();
    }
}

function showCamera() {
    const texts = Object.entries(ABOUT).map(([name, word]) => page.camera.get(name) && word + page.camera.get(name));
    const [maker, model, ...rest] = texts;
    say(find("camera-name"), [maker, model].filter(Boolean).join(" ") || "Camera parameters");
    say(find("camera-about"), rest.filter(Boolean).join(" · "));
}

function listen() {
    find("search").addEventListener("input", search);
    find("search").addEventListener("keydown", (event) => event.key === "Enter" && show(search(), true));
    find("search-select").addEventListener("click", () => show(search(), true));
    find("read-all").addEventListener("click", () => readShown([...page.shown]));
    find("clear").addEventListener("click", () => show([...page.shown], false));
    find("every").addEventListener("change", repeat);
    setInterval(() => page.rows.forEach((row) => row.tick()), 1000);
}

function search() {
    const text = find("search").value;
    const names = page.tree.search(text);
    find("search-select").hidden = !text.trim() || !names.length;
    const all = page.parameters.size;
    say(find("search-count"), text.trim() ? `${names.length} of ${all}` : `${all} parameters`);
    return names;
}

// Shows or no longer shows the parameters, and reads those that are new.
function show(names, isOn) {
    const fresh = names.filter((name) => isOn && !page.shown.has(name));
    names.forEach((name) => (isOn ? page.shown.add(name) : page.shown.delete(name)));
    arrange();
    // Only where the tree does not move away with it.
    const isBeside = find("columns").clientHeight < document.documentElement.clientHeight;
    if (fresh.length && isBeside) page.rows.get(fresh[0]).element.scrollIntoView({ block: "nearest" });
    readShown(fresh);
}

function arrange() {
    const names = [...page.parameters.keys()].filter((name) => page.shown.has(name));
    page.rows = new Map(names.map((name) => [name, page.rows.get(name) ?? makeRow(name)]));
    find("rows").replaceChildren(...sections([...page.rows.values()]));
    find("nothing").hidden = names.length > 0;
    page.tree.check(page.shown);
    find("read-all").textContent = `Read all ${names.length || ""}`.trim();
    find("read-all").disabled = find("clear").disabled = !names.length;
    history.replaceState(null, "", names.length ? `#${names.join(",")}` : location.pathname + location.search);
}

const makeRow = (name) => new Row(page.parameters.get(name), page.catalogue, page.camera, remove);

// The focus goes on to the next row.
function remove(row) {
    const names = [...page.rows.keys()];
    const next = names[names.indexOf(row.parameter.name) + 1];
    show([row.parameter.name], false);
    (page.rows.get(next)?.element.querySelector(".tools button:last-child") ?? find("search")).focus();
}

// What a parameter's widget needs is read with it. A read that changes the camera is only made by the row's own button.
async function readShown(names) {
    const wanted = names.map((name) => page.parameters.get(name)).filter((found) => found && !found.changesCamera);
    if (!wanted.length) return;
    await page.camera.read(wanted.flatMap((parameter) => [parameter.name, ...parameter.needs]));
    const isGood = ({ value, trouble }) => value !== undefined && !trouble;
    const failed = wanted.filter(({ name }) => !isGood(page.camera.readings.get(name)));
    say(find("summary"), `${wanted.length} read${failed.length ? `, ${failed.length} with an error` : ""}`);
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
