// A rectangle in the image, drawn with pointer or keyboard on a canvas, beside fields for its four numbers: the corner
// and the opposite corner as fractions of the image.
import {h, stepByArrows} from "./dom.js";

const SIDES = ["left", "top", "right", "bottom"];
const STEP = 0.01;
const GRIP = 0.05; // of the image: how near to a handle the pointer takes hold of it, and how far it goes to draw
const HINT = "Drag to draw it, a corner to size it, the middle to move it. Arrow keys move it, with Shift size it.";
const KEYS = {
    ArrowLeft: [-STEP, 0],
    ArrowRight: [STEP, 0],
    ArrowUp: [0, -STEP],
    ArrowDown: [0, STEP]
};

const clamp = (value, low = 0, high = 1) => Math.min(high, Math.max(low, value));
const round = (value) => Number(value.toFixed(4)); // the camera has units of 1/9999

export function makeRectangle(parameter, names) {
    const fields = SIDES.map((side) => h("input", {
        type: "text",
        inputmode: "decimal",
        autocomplete: "off",
        "aria-label": `${parameter.name}: ${side}`,
        "aria-describedby": names["aria-describedby"],
    }));
    const canvas = h("canvas", {
        width: 480,
        height: 270,
        tabindex: 0,
        role: "img",
        "aria-label": "The window in the image. Arrow keys move it; with Shift they move its right and lower edges.",
    });
    const get = () => fields.map((field) => Number(field.value));
    const show = (corners) => {
        fields.forEach((field, i) => (field.value = corners[i]));
        draw(canvas, get());
    };
    const change = (corners) => {
        show(corners.map(round));
        canvas.dispatchEvent(new Event("input", {bubbles: true}));
    };
    canvas.addEventListener("keydown", (event) => {
        if (!(event.key in KEYS)) return;
        event.preventDefault();
        change((event.shiftKey ? moveEdges : move)(get(), KEYS[event.key]));
    });
    followPointer(canvas, get, change);
    for (const field of fields) {
        field.addEventListener("input", () => draw(canvas, get()));
        stepByArrows(field, STEP, () => [0, 1]);
    }
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => draw(canvas, get()));
    return {
        elements: [canvas, h("div", {class: "corners"}, SIDES.map((side, i) => h("label", {}, side, fields[i])))],
        fields,
        hint: () => HINT,
        get: () => fields.map((field) => field.value.trim()).join(","),
        show: (value) => show((value || "0,0,0,0").split(",")),
    };
}

/** @type {(corners: number[], way: number[]) => number[]} */
function move([left, top, right, bottom], [x, y]) {
    const [dx, dy] = [clamp(x, -left, 1 - right), clamp(y, -top, 1 - bottom)];
    return [left + dx, top + dy, right + dx, bottom + dy];
}

/** @type {(corners: number[], way: number[]) => number[]} */
function moveEdges([left, top, right, bottom], [x, y]) {
    return [left, top, clamp(right + x, left), clamp(bottom + y, top)];
}

const inOrder = (a, b) => [Math.min(a[0], b[0]), Math.min(a[1], b[1]), Math.max(a[0], b[0]), Math.max(a[1], b[1])];

// Near a corner the pointer drags that corner, near the middle the rectangle; elsewhere it draws a new one.
function followPointer(canvas, get, change) {
    let drag = null;
    let box = null; // where the image was when the drag began: a message that comes meanwhile moves it
    const place =
        (event) => [clamp((event.clientX - box.left) / box.width), clamp((event.clientY - box.top) / box.height)];
    canvas.addEventListener("pointerdown", (event) => {
        canvas.setPointerCapture(event.pointerId);
        box = canvas.getBoundingClientRect();
        drag = startDrag(get(), place(event));
    });
    canvas.addEventListener("pointermove", (event) => {
        const corners = drag?.(place(event));
        if (corners) change(corners);
    });
    for (const end of ["pointerup", "pointercancel"]) canvas.addEventListener(end, () => (drag = null));
}

const isNear = (a, b) => Math.abs(a[0] - b[0]) < GRIP && Math.abs(a[1] - b[1]) < GRIP;

// Returns what a place makes of the rectangle; nothing, as long as a new one is too small to be meant.
/** @type {(corners: number[], from: number[]) => (to: number[]) => number[]} */
function startDrag([left, top, right, bottom], [x, y]) {
    const [nearX, farX] = Math.abs(x - left) < Math.abs(x - right) ? [left, right] : [right, left];
    const [nearY, farY] = Math.abs(y - top) < Math.abs(y - bottom) ? [top, bottom] : [bottom, top];
    if (isNear([x, y], [nearX, nearY])) return (to) => inOrder([farX, farY], to);
    if (isNear([x, y], [(left + right) / 2, (top + bottom) / 2])) {
        return (to) => move([left, top, right, bottom], [to[0] - x, to[1] - y]);
    }
    return (to) => (Math.abs(to[0] - x) < GRIP || Math.abs(to[1] - y) < GRIP ? null : inOrder([x, y], to));
}

function draw(canvas, corners) {
    const pen = canvas.getContext("2d");
    const colors = getComputedStyle(document.documentElement);
    const [left, top, right, bottom] = corners.map((value, i) => clamp(value) * (i % 2 ? canvas.height : canvas.width));
    const color = (name) => colors.getPropertyValue(name).trim();
    pen.clearRect(0, 0, canvas.width, canvas.height);
    pen.fillStyle = color("--line");
    for (let i = 1; i < 4; i++) {
        pen.fillRect((canvas.width * i) / 4, 0, 1, canvas.height);
        pen.fillRect(0, (canvas.height * i) / 4, canvas.width, 1);
    }
    pen.strokeStyle = pen.fillStyle = color("--accent");
    pen.globalAlpha = 0.2;
    pen.fillRect(left, top, right - left, bottom - top);
    pen.globalAlpha = 1;
    pen.lineWidth = 2;
    pen.strokeRect(left + 1, top + 1, Math.max(0, right - left - 2), Math.max(0, bottom - top - 2));
    for (const x of [left, right].map((x) => clamp(x - 5, 0, canvas.width - 10))) {
        for (const y of [top, bottom].map((y) => clamp(y - 5, 0, canvas.height - 10))) pen.fillRect(x, y, 10, 10);
    }
    pen.beginPath();
    pen.arc((left + right) / 2, (top + bottom) / 2, 7, 0, 2 * Math.PI);
    pen.fill();
}
