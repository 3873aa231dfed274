// The last requests, each as a command, and what came back.
import {copy, find, h, timeOf} from "./dom.js";
import {curlOf, namesOf, textOf} from "./protocol.js";

function titleOf(done) {
    const [name, ...more] = namesOf(done);
    const names = `${textOf(name ?? "").text}${more.length ? ` and ${more.length} more` : ""}`;
    const words = [timeOf(done.start), done.method, names, done.status || "no answer", `${done.end - done.start} ms`];
    return [...done.isPinned ? ["pinned"] : [], ...words].join("  ");
}

export const replyOf = ({text, trouble}) => [textOf(text).text, trouble].filter(Boolean).join("\n") || "(nothing)";

// The newest is shown until another one is chosen; that one stays until the newest is chosen again.
export function showExchanges(camera) {
    const choice = find("exchange-choice");
    const chosen = () => camera.exchanges.find((done) => done.isChosen) ?? camera.exchanges[0];
    const show = () => {
        const done = chosen();
        choice.replaceChildren(...camera.exchanges.map((one) => h("option", {selected: one === done}, titleOf(one))));
        find("exchange-curl").textContent = curlOf(done);
        find("exchange-reply").textContent = replyOf(done);
        find("exchange-pin").ariaPressed = String(Boolean(done.isPinned));
    };
    choice.addEventListener("change", () => {
        camera.exchanges.forEach((done, i) => (done.isChosen = i > 0 && i === choice.selectedIndex));
        show();
    });
    find("exchange-pin").addEventListener("click", () => {
        if (!chosen()) return;
        const done = chosen();
        done.isPinned = !done.isPinned;
        done.isChosen ||= done.isPinned;
        show();
    });
    find("exchange-copy").addEventListener("click", (event) => copy(find("exchange-curl").textContent, event.target));
    camera.addEventListener("exchange", show);
}
