// The charts of a trend, one above the other over the same time. Each has a unit on its left and one on its right, so that any
// number of units has axes of their own.
import { Chart, loadLibrary } from "./chart.js";
import { element, notice, setText } from "./dom.js";
import { t } from "./language.js";
import { onTheme } from "./theme.js";

/** Axis and margins, px. */
const besideChart = 110;
const narrowest = 200;

/**
 * @typedef {{units: string[], pens: import("./shown_pens.js").ShownPen[]}} Lane one or two units
 */

export class Lanes {
    /** @type {{chart: Chart, left: HTMLElement, right: HTMLElement, root: HTMLElement}[]} */
    #lanes = [];
    #library = null;
    #last = null;

    /** @param {{onRange: (from: number, to: number) => void, onBack: () => void, onPointer: (time: number | null) => void}} events */
    constructor(events) {
        this.events = events;
        this.root = element("div", { class: "lanes" });
        this.endTheme = onTheme(() => {
            this.#lanes.forEach(({ chart }) => chart.recolour());
            if (this.#last) this.draw(...this.#last);
        });
        loadLibrary().then((library) => {
            this.#library = library;
            if (this.#last) this.draw(...this.#last);
        }, () => this.root.replaceChildren(notice(t("trends.noLibrary"), "bad")));
    }

    leave() {
        this.endTheme();
        this.#last = null;
        this.#lanes.forEach(({ chart }) => chart.leave());
        this.#lanes = [];
    }

    /** Pixels across the charts; an estimate until they are drawn. */
    width() {
        const estimate = (this.root.closest("section")?.clientWidth ?? innerWidth) - besideChart;
        return Math.max(narrowest, Math.round(this.#lanes[0]?.chart.width() || estimate));
    }

    /** @param {import("./shown_pens.js").ShownPen[]} pens @param {number} from @param {number} to ms since 1970 */
    draw(pens, from, to) {
        this.#last = [pens, from, to];
        if (!this.#library) return;
        const wanted = lanesOf(pens);
        while (this.#lanes.length > wanted.length) {
            const lane = this.#lanes.pop();
            lane.chart.leave();
            lane.root.remove();
        }
        while (this.#lanes.length < wanted.length) this.#lanes.push(this.#make());
        const hasRight = wanted.some((lane) => lane.units.length > 1);
        wanted.forEach((lane, i) => {
            const { chart, left, right } = this.#lanes[i];
            setText(left, lane.units[0] || t("trends.noUnit"));
            setText(right, lane.units.length > 1 ? lane.units[1] || t("trends.noUnit") : "");
            chart.draw(lane.pens.map((pen) => ({ columns: pen.columns, slot: pen.slot, axis: pen.unit === lane.units[0] ? "y1" : "y2" })), from, to, hasRight);
        });
    }

    #make() {
        const left = element("span", {});
        const right = element("span", {});
        const place = element("div", { class: "lane-chart" });
        const root = element("div", { class: "lane" }, element("p", { class: "lane-units" }, left, right), place);
        this.root.append(root);
        const chart = new Chart(this.#library, place, { ...this.events, onPointer: (time) => {
            this.#lanes.forEach((lane) => lane.chart.point(time));
            this.events.onPointer(time);
        } });
        return { chart, left, right, root };
    }
}

/** Two units share a chart. @param {import("./shown_pens.js").ShownPen[]} pens @returns {Lane[]} */
function lanesOf(pens) {
    const units = [...new Set(pens.map((pen) => pen.unit))];
    return Array.from({ length: Math.ceil(units.length / 2) }, (_, i) => {
        const own = units.slice(2 * i, 2 * i + 2);
        return { units: own, pens: pens.filter((pen) => own.includes(pen.unit)) };
    });
}
