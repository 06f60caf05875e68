// The configuration: the file with its findings, the tree that results, and an editor whose text is checked but never saved.
import { get, isAborted, post } from "../data/api.js";
import { announce, element, icon, iconButton, notice, setText } from "../widgets/dom.js";
import { ConfigurationEditor } from "./editor.js";
import { configurationTree } from "./result_tree.js";
import { findingLines, findingList, countsOf, summaryOf } from "./findings.js";
import { t } from "../text/language.js";
import { note } from "../frame/router.js";
import { on, store } from "../data/store.js";

/**
 * @typedef {{line: number, severity: "error" | "warning", code: string, message: import("../text/language.js").Text,
 *   advice: import("../text/language.js").Text}} Finding line 0: the file as a whole
 * @typedef {{id: string, parent: string, name: string, class: string, dataType: string, access: string, uncertain: boolean}} ResultNode
 * @typedef {{file: string, lines: string[], findings: Finding[], tree: ResultNode[]}} Checked
 */

const tabs = ["file", "tree", "edit"];
/** An edited text outlives a visit to another view; it is lost with the page, which says so. @type {string | null} */
let draft = null;

class ConfigurationView {
    /** @type {Checked | null} the file as it is */
    #file = null;
    /** @type {Checked | null} the edited text, when it has been checked */
    #edited = null;
    #request = new AbortController();
    #check = new AbortController();

    /** @param {HTMLElement} root @param {Record<string, string>} parameters */
    constructor(root, parameters) {
        this.title = element("h2", { class: "file-name" });
        this.summary = element("p", { class: "summary", role: "status" });
        this.tabs = tabs.map((name) =>
            element(
                "button",
                {
                    type: "button",
                    class: "button",
                    role: "tab",
                    id: `tab-${name}`,
                    "aria-controls": "configuration-body",
                    on: { click: () => this.#choose(name) },
                },
                t(`configuration.${name}`),
            ),
        );
        const list = element(
            "div",
            {
                class: "segments",
                role: "tablist",
                "aria-label": t("nav.configuration"),
                on: { keydown: (event) => this.#tabKey(/** @type {KeyboardEvent} */ (event)) },
            },
            ...this.tabs,
        );
        this.body = element("div", {
            class: "configuration-body",
            role: "tabpanel",
            id: "configuration-body",
        });
        this.findings = element("div", { class: "finding-list" });
        this.tools = element("div", { class: "editor-tools", hidden: true });
        this.editor = new ConfigurationEditor({
            onChange: (text) => (draft = text),
            onCheck: (text) => this.#checkText(text),
        });
        root.append(
            element(
                "section",
                { class: "panel file-panel", "aria-label": t("nav.configuration") },
                element("header", {}, list, this.title, element("span", { class: "grow" }), this.tools),
                this.body,
            ),
            element(
                "aside",
                { class: "panel findings-panel", "aria-label": t("configuration.findings") },
                element("header", {}, element("h2", {}, t("configuration.findings")), this.summary),
                this.findings,
            ),
        );
        this.tools.append(
            element("p", { class: "muted small" }, t("configuration.notSaved")),
            iconButton("check", t("configuration.check"), () => this.editor.checkNow(), { class: "primary" }),
            iconButton("download", t("configuration.download"), () =>
                this.editor.download(this.#file?.file ?? "opcuasrv.ini"),
            ),
            iconButton("close", t("configuration.revert"), () => this.#revert()),
        );
        this.ends = [
            on("hello", () => this.#load()),
            on("overview", ({ findings }) => this.#compare(findings)),
        ];
        this.tab = "file";
        this.arrive(parameters);
    }

    leave() {
        this.#request.abort();
        this.#check.abort();
        this.editor.leave();
        this.ends.forEach((end) => end());
    }

    /** @param {Record<string, string>} parameters */
    arrive({ tab = "file", line = "" }) {
        this.tab = tabs.includes(tab) ? tab : "file";
        this.line = Number(line) || 0;
        this.tools.hidden = this.tab !== "edit";
        if (this.#file) this.#show();
        else this.#load();
    }

    async #load() {
        if (store.hello && !store.hello.configuration)
            return this.#say(t("configuration.absent"), "info", t("configuration.absentAdvice"));
        this.#request.abort();
        this.#request = new AbortController();
        if (!this.#file) this.#say(t("table.loading"), "wait");
        try {
            this.#file = await get("configuration", {}, this.#request.signal);
            this.#show();
        } catch (error) {
            if (!isAborted(error)) this.#say(error.message, "bad");
        }
        return undefined;
    }

    /** Somebody has changed the file: its findings are others. @param {{errors: number, warnings: number} | null} findings */
    #compare(findings) {
        const text = JSON.stringify(findings);
        const isNew = this.known !== undefined && this.known !== text;
        this.known = text;
        if (isNew && draft === null) this.#load();
    }

    #say(text, symbol, advice = "") {
        this.body.replaceChildren(notice(text, symbol, advice));
        this.findings.replaceChildren();
        setText(this.summary, "");
    }

    /** @param {string} name */
    #choose(name) {
        note({ tab: name === "file" ? null : name, line: null }, { keep: true });
        this.arrive({ tab: name });
    }

    #show() {
        this.tabs.forEach((button, i) => {
            const isChosen = tabs[i] === this.tab;
            button.setAttribute("aria-selected", String(isChosen));
            button.tabIndex = isChosen ? 0 : -1;
        });
        this.body.setAttribute("aria-labelledby", `tab-${this.tab}`);
        this.body.parentElement.parentElement.dataset.tab = this.tab;
        const isEditing = this.tab === "edit";
        const shown =
            (isEditing || this.tab === "tree") && this.#edited && draft !== null ? this.#edited : this.#file;
        setText(
            this.title,
            this.tab === "tree" && shown === this.#edited ? t("configuration.treeOfDraft") : this.#file.file,
        );
        if (this.tab === "tree") this.body.replaceChildren(configurationTree(shown.tree));
        else if (isEditing) this.#edit();
        else this.#showFile();
        this.#showFindings(shown);
    }

    #showFile() {
        this.body.replaceChildren(findingLines(this.#file));
        if (this.line) this.#goTo(this.line);
    }

    #edit() {
        this.body.replaceChildren(this.editor.root);
        this.editor.show(draft ?? this.#file.lines.join("\n"));
        this.editor.mark((this.#edited ?? this.#file).findings);
        if (draft !== null && !this.#edited) this.editor.checkNow();
        if (this.line) this.editor.goTo(this.line);
    }

    /** @param {Checked} checked */
    #showFindings(checked) {
        setText(this.summary, "");
        this.summary.append(summaryOf(countsOf(checked.findings)));
        this.findings.replaceChildren(findingList(checked.findings, (line) => this.#goTo(line)));
    }

    /** @param {number} line from 1 */
    #goTo(line) {
        if (this.tab === "edit") return this.editor.goTo(line);
        if (this.tab === "tree") {
            note({ tab: null, line });
            return this.arrive({ line: String(line) });
        }
        const target = this.body.querySelector(`[data-line="${line}"]`);
        target?.scrollIntoView({ block: "center" });
        for (const other of this.body.querySelectorAll(".is-target")) other.classList.remove("is-target");
        target?.classList.add("is-target");
        note({ line });
        return undefined;
    }

    /** @param {string} text */
    async #checkText(text) {
        this.#check.abort();
        this.#check = new AbortController();
        try {
            this.#edited = await post("configuration/check", { text }, this.#check.signal);
            if (this.tab !== "edit") return;
            this.editor.mark(this.#edited.findings);
            this.#showFindings(this.#edited);
            announce(this.summary.textContent);
        } catch (error) {
            if (isAborted(error)) return;
            this.summary.replaceChildren(
                element("span", { class: "error-text" }, icon("bad"), error.message),
            );
        }
    }

    #revert() {
        draft = null;
        this.#edited = null;
        this.#show();
    }

    /** @param {KeyboardEvent} event */
    #tabKey(event) {
        const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
        if (!step) return;
        const next = (tabs.indexOf(this.tab) + step + tabs.length) % tabs.length;
        this.#choose(tabs[next]);
        this.tabs[next].focus();
        event.preventDefault();
    }
}

// The browser asks before it leaves a page with an edited text.
addEventListener("beforeunload", (event) => {
    if (draft !== null) event.preventDefault();
});

/** @type {import("../app.js").MakeView} */
export function configurationView(root, parameters) {
    return new ConfigurationView(root, parameters);
}
