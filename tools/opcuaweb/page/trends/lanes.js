// The charts of a trend, one above the other over the same time. Each has an axis on its left and one on its right. Pens of the
// same unit share an axis, unless a pen was given its own.
import { Chart, loadLibrary } from "./chart.js";
import { element, notice, setText } from "../widgets/dom.js";
import { t } from "../text/language.js";
import { onTheme } from "../style/theme.js";

/** Axis and margins, px. */
const besideChart = 110;
const narrowest = 200;

/**
 * @typedef {{axes: string[], pens: import("./shown_pens.js").ShownPen[]}} Lane one or two axes
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
        loadLibrary().then(
            (library) => {
                this.#library = library;
                if (this.#last) this.draw(...this.#last);
            },
            () => this.root.replaceChildren(notice(t("trends.noLibrary"), "bad")),
        );
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
        const hasRight = wanted.some((lane) => lane.axes.length > 1);
        wanted.forEach((lane, i) => {
            const { chart, left, right } = this.#lanes[i];
            setText(left, titleOf(lane, 0));
            setText(right, titleOf(lane, 1));
            chart.draw(
                lane.pens.map((pen) => ({
                    columns: pen.columns,
                    slot: pen.slot,
                    axis: axisOf(pen) === lane.axes[0] ? "y1" : "y2",
                })),
                from,
                to,
                hasRight,
            );
        });
    }

    #make() {
        const left = element("span", {});
        const right = element("span", {});
        const place = element("div", { class: "lane-chart" });
        const root = element(
            "div",
            { class: "lane" },
            element("p", { class: "lane-units" }, left, right),
            place,
        );
        this.root.append(root);
        const chart = new Chart(this.#library, place, {
            ...this.events,
            onPointer: (time) => {
                this.#lanes.forEach((lane) => lane.chart.point(time));
                this.events.onPointer(time);
            },
        });
        return { chart, left, right, root };
    }
}

/** What pens of one axis have in common. @param {import("./shown_pens.js").ShownPen} pen */
function axisOf(pen) {
    return pen.hasOwnAxis ? `pen ${pen.id}` : `unit ${pen.unit}`;
}

/** Two axes share a chart. @param {import("./shown_pens.js").ShownPen[]} pens @returns {Lane[]} */
function lanesOf(pens) {
    const axes = [...new Set(pens.map(axisOf))];
    return Array.from({ length: Math.ceil(axes.length / 2) }, (_, i) => {
        const own = axes.slice(2 * i, 2 * i + 2);
        return { axes: own, pens: pens.filter((pen) => own.includes(axisOf(pen))) };
    });
}

/** Whose axis it is: the pen's, or all pens' of the unit. @param {Lane} lane @param {number} side */
function titleOf(lane, side) {
    const pens = lane.pens.filter((pen) => axisOf(pen) === lane.axes[side]);
    if (!pens.length) return "";
    const unit = pens[0].unit || t("trends.noUnit");
    return pens[0].hasOwnAxis ? [pens[0].name || pens[0].id, pens[0].unit].filter(Boolean).join(", ") : unit;
}
