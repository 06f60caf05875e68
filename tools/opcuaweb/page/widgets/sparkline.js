// A small curve of the values that this page has received, on a canvas.
import { colour } from "../style/theme.js";

const spanMs = 120_000;
/** Values that change come at least this often. */
const stillMs = 3000;
/** Faint: in a column of curves those that move are looked for. */
const stillAlpha = 0.45;

/**
 * @param {HTMLCanvasElement} canvas its size in CSS pixels is that of its box
 * @param {import("../data/store.js").Recent | null | undefined} recent
 * @param {boolean} isBad draws in the colour of bad values
 */
export function drawSparkline(canvas, recent, isBad) {
    const width = canvas.clientWidth;
    const height = canvas.clientHeight;
    const context = prepared(canvas, width, height);
    if (!context || !recent || recent.count < 2) return;
    const points = pointsOf(recent);
    const [low, high] = rangeOf(points);
    const end = Date.now(); // the program sends changes only: the last value still holds
    points.push({ time: end, value: points.at(-1).value });
    const from = Math.min(points[0].time, end - 1000);
    const x = (/** @type {number} */ time) => 1 + ((time - from) / (end - from)) * (width - 4);
    const y = (/** @type {number} */ value) =>
        high === low ? height / 2 : height - 3 - ((value - low) / (high - low)) * (height - 6);
    context.strokeStyle = colour(isBad ? "--bad" : "--spark");
    context.lineWidth = 1.5;
    context.globalAlpha = high === low ? stillAlpha : 1;
    context.lineJoin = "round";
    context.beginPath();
    let before = null;
    for (const point of points) {
        if (Number.isNaN(point.value)) before = null;
        else {
            if (!before) context.moveTo(x(point.time), y(point.value));
            // A value that stood still until it changed did not slope towards the change.
            else if (point.time - before.time > stillMs) context.lineTo(x(point.time), y(before.value));
            context.lineTo(x(point.time), y(point.value));
            before = point;
        }
    }
    context.stroke();
    dot(context, points.at(-1), x, y);
}

/** @param {HTMLCanvasElement} canvas @param {number} width @param {number} height */
function prepared(canvas, width, height) {
    const context = canvas.getContext("2d");
    if (!context || width === 0) return null;
    const scale = devicePixelRatio || 1;
    if (canvas.width !== Math.round(width * scale) || canvas.height !== Math.round(height * scale)) {
        canvas.width = Math.round(width * scale);
        canvas.height = Math.round(height * scale);
    }
    context.setTransform(scale, 0, 0, scale, 0, 0);
    context.clearRect(0, 0, width, height);
    return context;
}

/** Oldest first, not older than the span. @param {import("../data/store.js").Recent} recent */
function pointsOf(recent) {
    const { times, values, next, count } = recent;
    const all = Array.from({ length: count }, (_, i) => (next - count + i + times.length) % times.length).map(
        (place) => ({ time: times[place], value: values[place] }),
    );
    const recentOnes = all.filter((point) => point.time >= Date.now() - spanMs);
    return recentOnes.length ? recentOnes : all.slice(-1);
}

/** @param {{value: number}[]} points */
function rangeOf(points) {
    const values = points.map((point) => point.value).filter((value) => !Number.isNaN(value));
    return [Math.min(...values), Math.max(...values)];
}

/** The newest value. */
function dot(context, point, x, y) {
    if (Number.isNaN(point.value)) return;
    context.fillStyle = context.strokeStyle;
    context.beginPath();
    context.arc(x(point.time), y(point.value), 2, 0, 7);
    context.fill();
}
