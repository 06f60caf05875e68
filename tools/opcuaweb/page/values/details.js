// Everything about one variable, and what can be done with it.
import { element, icon, iconButton, setIcon, setText, announce } from "../widgets/dom.js";
import { age, conditionOf, exactTime, missing, plainValue } from "../text/format.js";
import { t } from "../text/language.js";
import { addressOf } from "../frame/router.js";
import { drawSparkline } from "../widgets/sparkline.js";
import { on, valueOf } from "../data/store.js";
import { watch } from "../data/watch.js";
import { textOf } from "../trends/pens.js";
import { pensOf } from "./pens_of.js";
import { canWrite, openWriteDialog } from "./write_dialog.js";

const facts = ["item", "time", "age", "status", "type", "access", "folder", "node"];

export class Details {
    /** @type {import("../data/store.js").Row | null} */
    row = null;

    /** @param {() => void} onClose */
    constructor(onClose) {
        this.title = element("h2", { class: "grow" });
        this.name = element("p", { class: "muted" });
        this.value = element("strong", { class: "big-value" });
        this.unit = element("span", { class: "big-unit" });
        this.sign = icon("none");
        this.word = element("span", {});
        this.quality = element("p", { class: "quality" }, this.sign, this.word);
        this.curve = /** @type {HTMLCanvasElement} */ (
            element("canvas", { class: "big-curve", "aria-hidden": "true" })
        );
        this.facts = Object.fromEntries(facts.map((name) => [name, element("dd", {})]));
        this.trend = element("a", { class: "button" }, icon("trends"), t("details.trend"));
        this.write = iconButton("pencil", t("details.write"), () => this.row && openWriteDialog(this.row));
        this.copy = iconButton("copy", t("details.copy"), () => this.#copy(), { class: "plain" });
        this.root = element(
            "aside",
            {
                class: "panel details",
                "aria-label": t("details.label"),
                hidden: true,
                on: {
                    keydown: (event) => /** @type {KeyboardEvent} */ (event).key === "Escape" && onClose(),
                },
            },
            element(
                "header",
                {},
                this.title,
                iconButton("close", t("close"), onClose, { quiet: true, class: "plain" }),
            ),
            element(
                "div",
                { class: "details-body live", tabIndex: 0 },
                this.name,
                element("p", { class: "big" }, this.value, " ", this.unit),
                this.quality,
                this.curve,
                element(
                    "dl",
                    { class: "facts" },
                    ...facts.flatMap((name) => [element("dt", {}, t(`details.${name}`)), this.facts[name]]),
                ),
            ),
            element("div", { class: "details-buttons" }, this.write, this.trend, this.copy),
        );
        const paint = () => this.#paint();
        this.ends = [on("values", paint), on("hello", paint)];
        this.timer = setInterval(paint, 1000);
    }

    leave() {
        this.ends.forEach((end) => end());
        clearInterval(this.timer);
        watch("details", []);
    }

    /** @param {import("../data/store.js").Row} row */
    show(row) {
        this.row = row;
        this.root.hidden = false;
        watch("details", [row.id]);
        setText(this.title, row.tag || row.item || row.id);
        setText(this.name, row.name || "");
        setText(this.unit, row.unit || "");
        setText(this.facts.item, row.item || missing);
        setText(this.facts.type, row.type || missing);
        setText(this.facts.access, row.access ? t(`access.${row.access}`) : missing);
        setText(this.facts.folder, row.folder || missing);
        setText(this.facts.node, row.id);
        this.#offerTrend(row);
        this.#paint();
    }

    /** @param {import("../data/store.js").Row} row */
    async #offerTrend(row) {
        this.trend.hidden = !row.history;
        const pens = await pensOf(row);
        if (this.row !== row) return;
        this.trend.hidden = !pens.length;
        this.trend.setAttribute("href", addressOf("trends", { pens: textOf(pens) }));
    }

    hide() {
        this.row = null;
        this.root.hidden = true;
        watch("details", []);
    }

    #paint() {
        if (!this.row) return;
        const known = valueOf(this.row.id);
        const condition = conditionOf(known, this.row);
        setText(this.value, plainValue(known?.value));
        this.root.dataset.condition = condition;
        this.quality.className = `quality is-${condition}`;
        setIcon(this.sign, condition);
        setText(this.word, t(`quality.${condition}`));
        setText(this.facts.status, known?.status || missing);
        setText(this.facts.time, exactTime(known?.time));
        setText(this.facts.age, age(known?.time));
        this.write.hidden = !canWrite(this.row);
        this.curve.hidden = !known?.recent;
        if (known?.recent) drawSparkline(this.curve, known.recent, condition === "bad");
    }

    async #copy() {
        try {
            await navigator.clipboard.writeText(this.row?.id ?? "");
            announce(t("details.copied"));
        } catch {
            getSelection()?.selectAllChildren(this.facts.node); // without the right, or over plain HTTP: ready for Ctrl+C
        }
    }
}
