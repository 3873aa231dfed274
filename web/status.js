// Whether the camera answers, what it is waited for, and how far the reading has come.
import {counted, find, say, timeOf} from "./dom.js";
import {CANCELLED, namesOf} from "./protocol.js";

const SILENT = 1000; // ms: what is over sooner needs no word

export function showState(camera) {
    let trouble = "";
    const update = () => {
        const oldest = [...camera.waiting].sort((a, b) => a.start - b.start)[0];
        const waited = oldest ? Date.now() - oldest.start : 0;
        const isWaiting = waited >= SILENT;
        const known = camera.exchanges.length ? "The camera answers." : "";
        const waiting = isWaiting ? `Waiting for ${nameOf(oldest)} since ${timeOf(oldest.start)}.` : "";
        say(find("camera-state"), waiting || trouble || known);
        find("camera-state").className = isWaiting ? "waiting" : trouble ? "wrong" : "";
        say(find("camera-wait"), isWaiting ? `${Math.floor(waited / 1000)} s` : "");
        showProgress(camera, isWaiting);
    };
    camera.addEventListener("exchange", ({detail: done}) => {
        if (done.trouble !== CANCELLED) trouble = done.trouble;
        update();
    });
    for (const event of ["waiting", "asking"]) camera.addEventListener(event, update);
    setInterval(update, 500);
    find("cancel").addEventListener("click", () => camera.cancel());
}

function nameOf(done) {
    const names = namesOf(done);
    const word = done.method === "GET" ? "" : "the write of ";
    return names.length ? `${word}${names[0]}${names.length > 1 ? ` and ${names.length - 1} more` : ""}` : "an answer";
}

function showProgress(camera, isWaiting) {
    const {asking, askedFor} = camera;
    const answered = askedFor - [...asking.values()].filter(({isCounted}) => isCounted).length;
    const isLong = asking.size > 0 && (isWaiting || askedFor > 50 || !find("progress").hidden);
    find("progress").hidden = !isLong;
    find("progress-bar").max = askedFor;
    find("progress-bar").value = answered;
    say(find("progress-text"), isLong ? `${answered} of ${counted(askedFor, "answer")}` : "");
}
