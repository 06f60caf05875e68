// The table below the charts: each pen with its colour, its value at the pointer or the last one, its extremes in the range, and
// its values as CSV. It also says in words what the charts draw.
import { element, icon, iconButton, setText } from "../widgets/dom.js";
import { dateTime, missing, number } from "../text/format.js";
import { csvAddress } from "./history.js";
import { t } from "../text/language.js";
import { columnAt, extremes } from "./series.js";

export class Legend {
    /** @type {number | null} */
    #time = null;
    #pens = [];
    #limits = [0, 0];
    #mark = "";
    /** @type {Map<string, Record<string, any>>} */
    #lines = new Map();

    /** @param {{onRemove: (id: string) => void, onAxis: (id: string) => void}} events onAxis: with the others of its unit, or not */
    constructor(events) {
        this.events = events;
        this.when = element("th", { scope: "col", class: "right" });
        const column = (key, kind = "") => element("th", { scope: "col", class: kind }, t(key));
        this.body = element("tbody", {});
        this.root = element(
            "div",
            { class: "legend", tabIndex: 0, role: "region", "aria-label": t("trends.legend"), hidden: true },
            element(
                "table",
                {},
                element(
                    "thead",
                    {},
                    element(
                        "tr",
                        {},
                        column("legend.pen"),
                        this.when,
                        column("legend.min", "right hide-small"),
                        column("legend.max", "right hide-small"),
                        column("legend.unit", "hide-small"),
                        element(
                            "th",
                            { scope: "col" },
                            element("span", { class: "spoken" }, t("legend.actions")),
                        ),
                    ),
                ),
                this.body,
            ),
        );
    }

    /** @param {import("./shown_pens.js").ShownPen[]} pens @param {number} from @param {number} to */
    show(pens, from, to) {
        this.root.hidden = !pens.length;
        const mark = JSON.stringify(pens.map(({ id, name, unit }) => [id, name, unit]));
        if (mark !== this.#mark) {
            this.#mark = mark;
            this.#lines = new Map(pens.map((pen) => [pen.id, this.#line(pen)]));
            this.body.replaceChildren(...[...this.#lines.values()].map((line) => line.root));
        }
        this.#pens = [...pens];
        this.#limits = [from, to];
        this.#paint();
    }

    /** @param {number | null} time under the pointer */
    point(time) {
        this.#time = time;
        this.#paint();
    }

    #paint() {
        const [from, to] = this.#limits;
        setText(this.when, this.#time === null ? t("legend.last") : dateTime(this.#time));
        for (const pen of this.#pens) {
            const line = this.#lines.get(pen.id);
            const column =
                this.#time === null
                    ? pen.columns.findLast(([time]) => time <= to)
                    : columnAt(pen.columns, this.#time);
            const isBad = column?.[4] === 1;
            const range = extremes(pen.columns, from, to);
            setText(line.value, !column ? missing : isBad ? t("quality.bad") : number(column[3] ?? NaN));
            line.value.classList.toggle("is-bad", isBad);
            setText(line.min, range ? number(range.min) : missing);
            setText(line.max, range ? number(range.max) : missing);
            setText(line.problem, pen.problem);
            line.axis.setAttribute("aria-pressed", String(pen.hasOwnAxis));
            if (line.csv.dataset.range !== `${from}-${to}`) {
                line.csv.dataset.range = `${from}-${to}`;
                line.csv.href = csvAddress({ node: pen.id, from, to });
            }
        }
    }

    /** @param {import("./shown_pens.js").ShownPen} pen */
    #line(pen) {
        const name = pen.name || pen.id;
        const value = element("td", { class: "right strong" });
        const min = element("td", { class: "right hide-small" });
        const max = element("td", { class: "right hide-small" });
        const problem = element("span", { class: "error-text" });
        const csv = /** @type {HTMLAnchorElement} */ (
            element(
                "a",
                {
                    class: "button plain",
                    download: `${name}.csv`,
                    title: t("legend.csv"),
                    "aria-label": t("legend.csvOf", { name }),
                },
                icon("download"),
                element("span", { class: "hide-small" }, "CSV"),
            )
        );
        const axis = iconButton("axis", t("legend.ownAxis", { name }), () => this.events.onAxis(pen.id), {
            quiet: true,
            class: "plain",
        });
        const swatch = element("span", { class: `swatch pen-${pen.slot + 1}`, "aria-hidden": "true" });
        const root = element(
            "tr",
            {},
            element("th", { scope: "row" }, swatch, element("span", { class: "pen-name" }, name), problem),
            value,
            min,
            max,
            element("td", { class: "muted hide-small" }, pen.unit),
            element(
                "td",
                { class: "right" },
                axis,
                csv,
                iconButton("close", t("legend.remove", { name }), () => this.events.onRemove(pen.id), {
                    quiet: true,
                    class: "plain",
                }),
            ),
        );
        return { root, value, min, max, problem, csv, axis };
    }
}
