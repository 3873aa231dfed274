// A request of one's own, sent as it stands, beside its reply.
import {find, say} from "./dom.js";
import {replyOf} from "./exchanges.js";
import {namesOf} from "./protocol.js";

const HINTS = {
    GET: "The query behind the “?”, as in req=General.UnitName&req=General.FirmwareVersion",
    POST: "Lines of the body, as in General.UnitName=Lobby; each is sent with CR LF behind it",
};

// afterwards(names) is told what a request that writes may have changed.
export function offerRawRequest(camera, afterwards) {
    const method = () => (find("raw-post").checked ? "POST" : "GET");
    const update = () => {
        find("raw-text").placeholder = HINTS[method()];
        find("raw-end-label").hidden = method() === "GET";
    };
    find("raw").addEventListener("change", update);
    find("raw").addEventListener("submit", async (event) => {
        event.preventDefault();
        const lines = find("raw-text").value.split("\n");
        if (lines.length > 1 && lines.at(-1) === "") lines.pop();
        const body = lines.join("\r\n") + (find("raw-end").checked ? "\r\n" : "");
        say(find("raw-status"), "Sending…");
        const done = await (method() === "GET" ? camera.send("?" + lines.join("")) : camera.send("", body));
        const isOther = method() === "GET" && !done.url.endsWith("?" + lines.join(""));
        say(find("raw-status"), [
            done.status || "no answer", `${done.text.length} bytes`, `${done.end - done.start} ms`,
            isOther && `the browser made it ${new URL(done.url).search}`
        ].filter(Boolean).join(", "));
        find("raw-reply").textContent = replyOf(done);
        find("raw-reply").hidden = false;
        if (method() === "POST") afterwards(namesOf(done));
    });
    update();
}
