// The band between least and greatest values of a curve. dygraphs fills one polygon of all columns, which takes a third of a
// second for a month where there is no graphics processor, each time that the chart is drawn.

const opacity = 0.28;
/** Columns closer than this are rectangles, so that they show each pixel's own extremes; px. */
const rectangleStep = 4;

/** @typedef {{x: number, high: number, low: number}} Edge of the band, px */

/**
 * A plotter of dygraphs.
 * @param {{drawingContext: CanvasRenderingContext2D, color: string, plotArea: {y: number, h: number}, points: any[]}} curve
 */
export function band({ drawingContext: context, color, plotArea, points }) {
    context.save();
    context.globalAlpha = opacity;
    context.fillStyle = color;
    /** @type {Edge | null} */
    let before = null;
    for (const { yval, canvasx, y_bottom: high, y_top: low } of points) {
        if (yval === null) continue; // a time of another curve
        if (Number.isNaN(yval)) {
            before = null; // a gap
            continue;
        }
        // Whole pixels: pieces that meet within one would show a seam.
        const edge = {
            x: Math.round(canvasx),
            high: plotArea.y + plotArea.h * high,
            low: plotArea.y + plotArea.h * low,
        };
        if (before?.x === edge.x) {
            before.high = Math.min(before.high, edge.high);
            before.low = Math.max(before.low, edge.low);
            continue;
        }
        if (before) fill(context, before, edge);
        before = edge;
    }
    context.restore();
}

/** @param {CanvasRenderingContext2D} context @param {Edge} from @param {Edge} to */
function fill(context, from, to) {
    if (to.x - from.x < rectangleStep) {
        context.fillRect(from.x, from.high, to.x - from.x, from.low - from.high);
        return;
    }
    context.beginPath();
    context.moveTo(from.x, from.high);
    context.lineTo(to.x, to.high);
    context.lineTo(to.x, to.low);
    context.lineTo(from.x, from.low);
    context.fill();
}
