// What stands behind the "#" of the page's address: names of parameters and of groups, or "-" for none, and behind "?"
// a search. Without names it shows what the search finds.

export function readLink(hash) {
    let text = hash.replace(/^#/, "");
    try {
        text = decodeURIComponent(text);
    } catch {
        // A percent sign that stands for itself.
    }
    const at = text.indexOf("?");
    const before = at < 0 ? text : text.slice(0, at);
    const places = before.split(",").filter((place) => place && place !== "-");
    return {places, search: at < 0 ? "" : text.slice(at + 1), isEmpty: !text, isSearch: !before && at >= 0};
}

const isBelow = (name, place) => name === place || name.startsWith(place + ".");

export const namesAt = (places, names) => names.filter((name) => places.some((place) => isBelow(name, place)));
export const placesWithout = (places, names) => places.filter((place) => !names.some((name) => isBelow(name, place)));

const groupsOf = (name) => name.split(".").slice(0, -1).map((_, i, words) => words.slice(0, i + 1).join("."));

// A group stands for its names where all of them, and more than one, are shown.
export function writeLink(shown, names, search) {
    const sizes = new Map();
    for (const name of names) {
        for (const group of groupsOf(name)) sizes.set(group, (sizes.get(group) ?? 0) + (shown.has(name) ? 1 : NaN));
    }
    const places = names.filter((name) => shown.has(name))
                       .map((name) => groupsOf(name).find((group) => sizes.get(group) > 1) ?? name);
    return `#${[...new Set(places)].join(",") || "-"}${search && `?${encodeURIComponent(search)}`}`;
}
