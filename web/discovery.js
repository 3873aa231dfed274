// What the camera has: the counts that it announces make the parameters. Looked at when the page opens, and again
// whenever another answer is to be expected.
import {expand} from "./catalogue.js";

// What is said of the camera, and the word in front of it.
export const ABOUT = {
    "General.Brand.CompanyName": "",
    "General.Brand.ModelName": "",
    "General.UnitName": "",
    "General.FirmwareVersion": "firmware ",
    "General.ProtocolVersion": "protocol "
};
const IDENTITY = ["General.Brand.CompanyName", "General.Brand.ModelName", "General.FirmwareVersion"];

export class Discovery {
    // onGrow(parameters) is told what there is, when that is known or has changed.
    constructor(catalogue, camera, onGrow) {
        this.catalogue = catalogue;
        this.camera = camera;
        this.onGrow = onGrow;
        this.counts = new Map();
        this.identity = "";
        this.running = null;
        this.isIncomplete = true; // the camera could not tell all
        camera.addEventListener("reading", ({detail: names}) => {
            const isOther = (name) => this.counts.has(name) && this.counts.get(name) !== this.countOf(name);
            if (!this.running && (names.some(isOther) || this.isAnother())) this.look();
        });
    }

    // One at a time; who asks meanwhile gets another one.
    async look() {
        this.isStale = true;
        this.running ??= (async () => {
            while (this.isStale) {
                this.isStale = false;
                await this.lookAround();
            }
            this.running = null;
        })();
        await this.running;
    }

    // Asks for the counts that make the tree, and for those that only then are known to matter, to the end.
    async lookAround() {
        const asked = new Set();
        this.isIncomplete = true;
        let [found, missing] = [expand(this.catalogue, this.countOf), Object.keys(ABOUT)];
        if (!this.counts.size) this.grow(found); // what every camera has
        while (missing.length) {
            if (!await this.camera.read(missing)) return;
            missing.forEach((name) => asked.add(name));
            this.identify();
            found = expand(this.catalogue, this.countOf);
            const isAsked = (name) => asked.has(name) || found.parameters.get(name)?.changesCamera;
            missing = [...found.bounds].filter((name) => !isAsked(name));
        }
        this.isIncomplete = [...found.bounds, ...IDENTITY].some((name) => {
            const reading = this.camera.readings.get(name);
            return reading ? reading.trouble : !found.parameters.get(name)?.changesCamera;
        });
        this.grow(found);
    }

    // Another camera at the same address: what the one before said is not its.
    identify() {
        const isAnother = this.isAnother();
        this.identity = this.identityNow() || this.identity;
        if (!isAnother) return;
        this.counts.clear();
        this.isStale = true;
        this.camera.forget();
    }

    // Empty while a word of it is not known.
    identityNow() {
        const words = IDENTITY.map((name) => this.camera.get(name));
        return words.includes(undefined) ? "" : words.join("\n");
    }

    isAnother() {
        const now = this.identityNow();
        return this.identity !== "" && now !== "" && this.identity !== now;
    }

    // A camera that fails to tell a count still has what it had.
    countOf = (name) => this.camera.get(name) ?? this.counts.get(name);

    grow({parameters, bounds}) {
        this.counts = new Map([...bounds].map((name) => [name, this.countOf(name)]));
        this.onGrow(parameters);
    }
}
