// What came of a write, in words: what the program said of it, held against what was read back.
import {readForm} from "./catalogue.js";

// What the program stores in another form than it was written: escapes, or leading zeros.
function isAlike(wanted, now) {
    const isNumber = wanted.trim() !== "" && Number(wanted) === Number(now);
    return isNumber || wanted.replace(/%([0-9a-f]{2})/gi, (_, code) => String.fromCharCode(parseInt(code, 16))) === now;
}

// before: the value that was known; back: the reading made after the write, or null. isBad: what was sent is better
// looked at again. value: what was written, where that is what the camera has;
// lost: what it has in the place of a write that came to nothing.
export function outcomeOf(type, sent, before, {answer, back}) {
    const wanted = readForm(type, sent);
    const now = back?.trouble ? undefined : back?.value;
    const shown = now || "an empty text";
    const common = {remark: answer.remark ?? ""};
    if (answer.value !== undefined) {
        if (now === undefined) return {...common, text: "Accepted, but it cannot be read back.", isBad: true};
        if (now === wanted) return {...common, text: "Written.", value: now};
        if (now !== before || isAlike(wanted, now)) return {...common, text: `Accepted, reads ${shown}.`};
        return {...common, text: `Accepted, but the camera still has ${shown}.`, isBad: true, lost: now};
    }
    const words = (answer.error ?? answer.trouble).replace(/\.$/, "");
    if (now === undefined || (now !== wanted && now === before)) return {...answer, isBad: true};
    if (now !== wanted) return {...common, text: `${words}, and the camera now has ${shown}.`, isBad: true};
    return {
        ...common,
        text: now === before ? `${words}; the camera has it, as before.` : `${words}, but the camera now has it.`,
        isDoubtful: true
    };
}
