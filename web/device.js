// The camera as the page knows it: the last reading of each parameter, what is under way, and the last exchanges. Tells
// when they change.
import {CANCELLED, batches, begin, bodyOf, finish, match, queryOf} from "./protocol.js";

const READS_KEPT = 12; // exchanges
const WRITES_KEPT = 50;

export class Camera extends EventTarget {
    constructor(rules) {
        super();
        this.rules = rules;
        this.readings = new Map();
        this.asking = new Map(); // by name: the promise of its answer, when it was asked for, whether it counts
        this.askedFor = 0; // names that count, since all was quiet, those that are answered included
        this.cancels = new Set();
        this.waiting = new Set(); // exchanges
        this.exchanges = []; // newest first
        this.get = (name) => this.readings.get(name)?.value; // undefined: not read, or refused
    }

    // Reads the names, and what their widgets need, which is not counted; those that are being read already are waited
    // for. Returns whether that was not cancelled.
    async read(names, needs = []) {
        const wanted = new Set(names);
        const fresh = [...new Set([...names, ...needs])].filter((name) => !this.asking.has(name));
        const control = new AbortController();
        const reading = this.readNow(fresh, control.signal);
        fresh.forEach((name) => this.asking.set(name, {reading, start: Date.now(), isCounted: wanted.has(name)}));
        this.askedFor += fresh.filter((name) => wanted.has(name)).length;
        this.cancels.add(control);
        this.tell("asking", fresh);
        await Promise.all([...names, ...needs].map((name) => this.asking.get(name)?.reading));
        this.cancels.delete(control);
        this.answered(fresh);
        return !control.signal.aborted;
    }

    answered(names) {
        names.forEach((name) => this.asking.delete(name));
        if (!this.asking.size) this.askedFor = 0;
        this.tell("asking", names);
    }

    // Ends all reading; what is not read yet stays as it is.
    cancel() { this.cancels.forEach((control) => control.abort()); }

    async readNow(names, signal) {
        let lost = null; // a camera that is gone is not asked again for the rest
        for (const batch of batches(names, this.rules)) {
            if (signal?.aborted) return;
            const done = lost ?? await this.send(queryOf(batch), undefined, signal);
            if (done.trouble !== CANCELLED) this.take(match(batch, done, this.rules), done);
            if (!done.status) lost = {...done, trouble: `${done.trouble} This one was not asked for.`};
            this.answered(batch);
        }
    }

    // Writes one value and reads it back. Returns what the program said to the write, and what was read then, if it
    // could be.
    async write(name, value) {
        const done = await this.send("", bodyOf(name, value));
        const answer = match([name], done, this.rules).get(name);
        if (done.status) await this.readNow([name]);
        const reading = this.readings.get(name);
        return {answer, back: reading?.start >= done.end ? reading : null};
    }

    async send(query, body, signal) {
        const done = begin(query, body);
        this.waiting.add(done);
        this.tell("waiting");
        await finish(done, this.rules, signal);
        this.waiting.delete(done);
        this.keep(done);
        this.tell("exchange", done);
        return done;
    }

    // A camera that is gone is asked again and again: one of these exchanges tells as much as all.
    keep(done) {
        const last = this.exchanges[0];
        const isSame = last?.url === done.url && last.body === done.body && last.trouble === done.trouble;
        const isAgain = isSame && !done.status && !last.isPinned;
        const counts = {GET: READS_KEPT, POST: WRITES_KEPT};
        this.exchanges = [done, ...this.exchanges.slice(isAgain ? 1 : 0)].filter(
            (exchange) => exchange.isPinned || exchange.isChosen || counts[exchange.method]-- > 0);
    }

    // A value outlives an exchange that fails: it is still the last that the camera said, and its age shows.
    take(answers, {start, end}) {
        for (const [name, answer] of answers) {
            const last = this.readings.get(name);
            if (last?.start > start) continue; // overtaken by a later read
            const kept = answer.trouble ? {value: last?.value, at: last?.at, isRaw: last?.isRaw} : {at: end};
            this.readings.set(name, {start, ...kept, ...answer});
        }
        this.tell("reading", [...answers.keys()]);
    }

    // It is another camera now.
    forget() {
        const names = [...this.readings.keys()];
        this.readings.clear();
        this.tell("reading", names);
    }

    /** @param {any} [detail] */
    tell(what, detail) { this.dispatchEvent(new CustomEvent(what, {detail})); }
}
