// The camera as the page knows it: the last reading of each parameter and the last exchanges. Tells when they change.
import { batches, bodyOf, exchange, match, queryOf } from "./protocol.js";

const EXCHANGES_KEPT = 12;

export class Camera extends EventTarget {
    constructor(isAlone) {
        super();
        Object.assign(this, { isAlone, readings: new Map(), asking: new Map(), exchanges: [] });
        this.get = (name) => this.readings.get(name)?.value; // undefined: not read, or refused
    }

    // Reads the names; those that are being read already are waited for.
    async read(names) {
        const fresh = [...new Set(names)].filter((name) => !this.asking.has(name));
        const reading = this.readNow(fresh);
        fresh.forEach((name) => this.asking.set(name, reading));
        this.tell("asking", fresh);
        await Promise.all(names.map((name) => this.asking.get(name)));
        fresh.forEach((name) => this.asking.delete(name));
        this.tell("asking", fresh);
    }

    async readNow(names) {
        let lost = null; // a camera that is gone is not asked again for the rest
        for (const batch of batches(names, this.isAlone)) {
            const done = lost ?? await this.send(queryOf(batch));
            if (!done.status) lost = done;
            this.take(match(batch, done, this.isAlone), done);
        }
    }

    // Writes one value and reads it back. Returns what the program said to the write.
    async write(name, value) {
        const done = await this.send("", bodyOf(name, value));
        const answer = match([name], done).get(name);
        if (!answer.trouble) await this.readNow([name]);
        return answer;
    }

    async send(query, body) {
        const done = await exchange(query, body);
        this.exchanges = [done, ...this.exchanges].slice(0, EXCHANGES_KEPT);
        this.tell("exchange", done);
        return done;
    }

    // A value outlives an exchange that fails: it is still the last that the camera said, and its age shows.
    take(answers, { start, end }) {
        for (const [name, answer] of answers) {
            const last = this.readings.get(name);
            if (last?.start > start) continue; // overtaken by a later read
            const kept = answer.trouble ? { value: last?.value, at: last?.at } : { at: end };
            this.readings.set(name, { start, ...kept, ...answer });
        }
        this.tell("reading", [...answers.keys()]);
    }

    tell(what, detail) {
        this.dispatchEvent(new CustomEvent(what, { detail }));
    }
}
