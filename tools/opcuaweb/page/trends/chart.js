// One chart of trends, drawn by dygraphs: at most two units, one on each side. dygraphs writes labels as markup, so it gets
// only texts that are made here; names from the server stay in the legend.
import { band } from "./band.js";
import { number } from "../text/format.js";
import { locale } from "../text/language.js";
import { gapsOf, merged } from "./series.js";
import { colour } from "../style/theme.js";

/** @typedef {{columns: import("./history.js").Column[], slot: number, axis: "y1" | "y2"}} Curve slot: its colour, from 0 */

const wideLabels = 62;
const narrowLabels = 38;
const narrowChart = 500;
const highChart = 300;
const axisTickSize = 3;
const rightGap = 8;
const dashes = [null, null, null, null, [8, 3], [8, 3], [8, 3], [8, 3]];
/** @type {Promise<any> | null} */
let library = null;

/** dygraphs, loaded when the first chart is made. @returns {Promise<any>} */
export function loadLibrary() {
    library ??= new Promise((resolve, reject) => {
        const style = Object.assign(document.createElement("link"), {
            rel: "stylesheet",
            href: "/dygraph.css",
        });
        const script = Object.assign(document.createElement("script"), { src: "/dygraph.js" });
        script.onload = () => resolve(withoutLegend(/** @type {any} */ (window).Dygraph));
        script.onerror = () => {
            library = null;
            reject(new Error("/dygraph.js"));
        };
        document.head.prepend(style); // before the page's own styles, which correct its colours
        document.head.append(script);
    });
    return library;
}

/** Its legend measures itself with an inline style, which the page's policy forbids; the page has a legend of its own. */
function withoutLegend(Dygraph) {
    Dygraph.PLUGINS = Dygraph.PLUGINS.filter((plugin) => plugin !== Dygraph.Plugins.Legend);
    return Dygraph;
}

export class Chart {
    #graph = null;
    #kind = "";
    /** @type {Curve[]} */
    #curves = [];
    #isDrawing = false;

    /**
     * @param {any} Dygraph @param {HTMLElement} place
     * @param {{onRange: (from: number, to: number) => void, onBack: () => void, onPointer: (time: number | null) => void}} events
     *   times in ms since 1970
     */
    constructor(Dygraph, place, events) {
        this.Dygraph = Dygraph;
        this.events = events;
        this.plot = Object.assign(document.createElement("div"), { className: "plot" });
        this.pointer = Object.assign(document.createElement("div"), { className: "pointer", hidden: true });
        place.append(this.plot, this.pointer);
        this.place = place;
        place.addEventListener("wheel", (event) => this.#wheel(event), { passive: false });
        this.sizes = new ResizeObserver(() => this.#graph?.resize());
        this.sizes.observe(place);
    }

    leave() {
        this.sizes.disconnect();
        this.#graph?.destroy();
        this.place.replaceChildren();
    }

    /** Pixels across the plot, 0 until it is drawn. */
    width() {
        return this.#graph?.getArea().w ?? 0;
    }

    /**
     * @param {Curve[]} curves @param {number} from @param {number} to ms since 1970
     * @param {boolean} keepsRight leaves room for an axis on the right even without one, so that charts line up
     */
    draw(curves, from, to, keepsRight) {
        this.#curves = curves;
        this.keepsRight = keepsRight;
        const kind =
            curves.map((curve) => `${curve.slot}${curve.axis}`).join() +
            document.documentElement.lang +
            keepsRight;
        const rows = merged(curves.map((curve) => curve.columns));
        const file = rows.length ? rows : [[from, ...curves.map(() => null)]];
        this.#isDrawing = true;
        if (kind !== this.#kind) this.#make(kind, file, from, to);
        else this.#graph.updateOptions({ file, dateWindow: [from, to] });
        this.#isDrawing = false;
    }

    /** Draws again with the colours of another theme. */
    recolour() {
        this.#kind = "";
    }

    /** Moves the line that all charts share. @param {number | null} time */
    point(time) {
        this.pointer.hidden = time === null || !this.#graph;
        if (this.pointer.hidden) return;
        const area = this.#graph.getArea();
        const x = this.#graph.toDomXCoord(time);
        this.pointer.hidden = x < area.x || x > area.x + area.w;
        this.pointer.style.transform = `translateX(${Math.round(x)}px)`;
    }

    #make(kind, file, from, to) {
        this.#kind = kind;
        this.#graph?.destroy();
        const labels = ["t", ...this.#curves.map((_, i) => `pen ${i + 1}`)];
        const series = Object.fromEntries(
            this.#curves.map((curve, i) => [
                labels[i + 1],
                {
                    axis: curve.axis === "y2" ? "y2" : "y",
                    color: colour(`--pen-${curve.slot + 1}`),
                    strokePattern: dashes[curve.slot],
                    strokeWidth: 1.7,
                },
            ]),
        );
        const isNarrow = this.place.clientWidth < narrowChart;
        const axisLabelWidth = isNarrow ? narrowLabels : wideLabels;
        const hasRight = this.#curves.some((curve) => curve.axis === "y2");
        const side = (/** @type {number} */ index) => ({
            axisLabelWidth,
            axisTickSize,
            pixelsPerLabel: this.place.clientHeight > highChart ? 36 : 22,
            axisLabelFormatter: (value, _granularity, _option, graph) =>
                number(value, decimalsOf(graph.yAxisRange(index))),
        });
        this.#graph = new this.Dygraph(this.plot, file, {
            labels,
            series,
            dateWindow: [from, to],
            customBars: true,
            connectSeparatedPoints: true,
            plotter: [band, this.Dygraph.Plotters.linePlotter],
            animatedZooms: false,
            labelsUTC: false,
            xRangePad: 0,
            yRangePad: 12,
            rightGap: rightGap + (this.keepsRight && !hasRight ? axisLabelWidth + 2 * axisTickSize : 0),
            highlightCircleSize: 3,
            axisLineColor: colour("--control-line"),
            gridLineColor: colour("--line"),
            axisLabelFontSize: 13,
            interactionModel: this.#interaction(),
            axes: {
                x: {
                    ticker: this.Dygraph.dateTicker,
                    axisLabelFormatter: axisTime,
                    axisLabelWidth: isNarrow ? 58 : 74,
                    pixelsPerLabel: isNarrow ? 60 : 92,
                },
                y: side(0),
                y2: { ...side(1), independentTicks: true, drawGrid: false, drawAxis: hasRight },
            },
            underlayCallback: (context, area, graph) => this.#underlay(context, area, graph),
            drawCallback: (graph, isFirst) =>
                isFirst || this.#isDrawing || this.events.onRange(...graph.xAxisRange()),
            highlightCallback: (_event, x) => this.events.onPointer(x),
            unhighlightCallback: () => this.events.onPointer(null),
        });
    }

    /** Drag zooms, drag with Shift pans, two fingers do both; a double click goes back. */
    #interaction() {
        return {
            ...this.Dygraph.defaultInteractionModel,
            dblclick: (_event, graph) => {
                this.#isDrawing = true;
                graph.resetZoom(); // of the values' axes
                this.#isDrawing = false;
                this.events.onBack();
            },
        };
    }

    /** A strip for each pen where its quality is bad, so that a gap in a line has a reason. */
    #underlay(context, area, graph) {
        context.fillStyle = colour("--bad");
        this.#curves.forEach((curve, i) => {
            for (const [from, to] of gapsOf(curve.columns)) {
                const left = Math.max(area.x, graph.toDomXCoord(from));
                const right = Math.min(area.x + area.w, graph.toDomXCoord(to));
                if (right > left)
                    context.fillRect(left, area.y + area.h - 5 * (i + 1), Math.max(2, right - left), 4);
            }
        });
    }

    /** Zooms around the pointer; sideways, or with Shift, it pans. @param {WheelEvent} event */
    #wheel(event) {
        if (!this.#graph || event.ctrlKey) return;
        event.preventDefault();
        const [from, to] = this.#graph.xAxisRange();
        const sideways = event.shiftKey ? event.deltaY + event.deltaX : event.deltaX;
        if (Math.abs(sideways) > Math.abs(event.deltaY) || event.shiftKey) {
            const shift = (Math.sign(sideways) * (to - from)) / 12;
            this.events.onRange(from + shift, to + shift);
            return;
        }
        const area = this.#graph.getArea();
        const offset = event.clientX - this.plot.getBoundingClientRect().left - area.x;
        const share = Math.max(0, Math.min(1, offset / area.w));
        const factor = event.deltaY > 0 ? 1.25 : 0.8;
        const fixed = from + share * (to - from);
        this.events.onRange(fixed - (fixed - from) * factor, fixed + (to - fixed) * factor);
    }
}

/** Decimals that distinguish the ticks of an axis: the same for all of them. @param {[number, number] | null} range */
function decimalsOf(range) {
    if (!range || !(range[1] > range[0])) return undefined;
    return Math.max(0, Math.min(6, Math.ceil(-Math.log10((range[1] - range[0]) / 4))));
}

/** @param {Date | number} when @param {number} _granularity @param {unknown} _option @param {any} graph */
function axisTime(when, _granularity, _option, graph) {
    const date = new Date(when);
    const [from, to] = graph.xAxisRange();
    const isMidnight = date.getHours() + date.getMinutes() + date.getSeconds() === 0;
    const clock = { hour: "2-digit", minute: "2-digit", hourCycle: "h23" };
    const day = { day: "2-digit", month: "2-digit" };
    const options =
        to - from > 3 * 86_400_000 || isMidnight
            ? day
            : to - from < 600_000
              ? { ...clock, second: "2-digit" }
              : clock;
    return new Intl.DateTimeFormat(locale(), /** @type {any} */ (options)).format(date);
}
