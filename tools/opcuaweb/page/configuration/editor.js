// An editor for the text of a configuration. Nothing is saved: the text can be checked, and downloaded in the file's code page.
import { encodeCp866 } from "./cp866.js";
import { debounced, element, icon, setText } from "../widgets/dom.js";
import { said, t } from "../text/language.js";
import { symbolOf } from "./findings.js";

/** The program checks at most this many bytes. */
const largest = 1_000_000;

export class ConfigurationEditor {
    /** @param {{onChange: (text: string) => void, onCheck: (text: string) => void}} events */
    constructor(events) {
        this.events = events;
        this.numbers = element("pre", { "aria-hidden": "true" });
        this.marks = element("div", { class: "gutter-marks", "aria-hidden": "true" });
        this.gutter = element("div", { class: "gutter" }, this.numbers, this.marks);
        this.text = /** @type {HTMLTextAreaElement} */ (
            element("textarea", {
                class: "editor-text",
                spellcheck: false,
                wrap: "off",
                autocomplete: "off",
                autocapitalize: "off",
                "aria-label": t("configuration.editor"),
                maxLength: largest,
                on: {
                    input: () => this.#changed(),
                    scroll: () => this.#scrolled(),
                    keydown: (event) => this.#key(/** @type {KeyboardEvent} */ (event)),
                },
            })
        );
        this.root = element("div", { class: "editor" }, this.gutter, this.text);
        this.later = debounced(700, () => this.checkNow());
    }

    leave() {
        this.later.cancel();
    }

    /** @param {string} text */
    show(text) {
        this.text.value = text;
        this.#number();
    }

    checkNow() {
        this.later.cancel();
        this.events.onCheck(this.text.value);
    }

    /** Marks the lines of findings. @param {import("./configuration.js").Finding[]} findings */
    mark(findings) {
        this.marks.replaceChildren(
            ...findings
                .filter(({ line }) => line > 0)
                .map((finding) => {
                    const mark = element(
                        "span",
                        { class: `gutter-mark is-${symbolOf(finding)}`, title: said(finding.message) },
                        icon(symbolOf(finding)),
                    );
                    mark.style.top = `calc(${finding.line - 1} * var(--line-height))`;
                    return mark;
                }),
        );
    }

    /** Puts the cursor at the beginning of a line. @param {number} line from 1 */
    goTo(line) {
        const lines = this.text.value.split("\n");
        const start = lines.slice(0, line - 1).reduce((sum, text) => sum + text.length + 1, 0);
        this.text.focus();
        this.text.setSelectionRange(start, start + (lines[line - 1]?.length ?? 0));
        const height = parseFloat(getComputedStyle(this.text).lineHeight);
        this.text.scrollTop = Math.max(0, (line - 1) * height - this.text.clientHeight / 2);
    }

    /** Gives the text to the browser as a file in CP866, with the line ends of the controller. @param {string} path */
    download(path) {
        const link = document.createElement("a");
        link.href = URL.createObjectURL(
            new Blob([encodeCp866(this.text.value)], { type: "application/octet-stream" }),
        );
        link.download = path.split("/").pop() || "opcuasrv.ini";
        link.click();
        setTimeout(() => URL.revokeObjectURL(link.href), 1000);
    }

    #changed() {
        this.#number();
        this.events.onChange(this.text.value);
        this.later();
    }

    #number() {
        const count = this.text.value.split("\n").length;
        setText(this.numbers, Array.from({ length: count }, (_, i) => i + 1).join("\n"));
        this.#scrolled();
    }

    #scrolled() {
        this.gutter.scrollTop = this.text.scrollTop;
    }

    /** @param {KeyboardEvent} event */
    #key(event) {
        if (event.key !== "Enter" || !(event.ctrlKey || event.metaKey)) return;
        event.preventDefault();
        this.checkNow();
    }
}
