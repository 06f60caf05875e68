// Findings about a configuration: beside the lines of the file, as a list, and in one line.
import { element, icon } from "../widgets/dom.js";
import { said, t } from "../text/language.js";

/** @typedef {import("./configuration.js").Finding} Finding */

const symbols = { error: "bad", warning: "uncertain" };

/** @param {Finding} finding */
export function symbolOf(finding) {
    return symbols[finding.severity] ?? "uncertain";
}

/** The file with line numbers; below each line what is wrong with it. @param {import("./configuration.js").Checked} checked */
export function findingLines({ lines, findings }) {
    /** @type {Map<number, Finding[]>} */
    const byLine = new Map();
    for (const finding of findings) byLine.set(finding.line, [...(byLine.get(finding.line) ?? []), finding]);
    return element(
        "div",
        { class: "listing", tabIndex: 0, role: "region", "aria-label": t("configuration.file") },
        ...(byLine.get(0) ?? []).map(remark),
        ...lines.flatMap((text, i) => [
            codeLine(text, i + 1, byLine.get(i + 1) ?? []),
            ...(byLine.get(i + 1) ?? []).map(remark),
        ]),
    );
}

/** @param {string} text @param {number} line @param {Finding[]} findings */
function codeLine(text, line, findings) {
    const worst = findings.find(({ severity }) => severity === "error") ?? findings[0];
    return element(
        "div",
        { class: `code-line ${worst ? `has-${symbolOf(worst)}` : ""}`, "data-line": line },
        element("span", { class: "line-number" }, String(line)),
        codeText(text),
    );
}

/** Comments and sections apart from the rest. @param {string} text */
function codeText(text) {
    const kind = /^\s*[;#]/.test(text) ? "comment" : /^\s*\[/.test(text) ? "section" : "entry";
    const equals = kind === "entry" ? text.indexOf("=") : -1;
    if (equals < 0) return element("code", { class: `code-${kind}` }, text || " ");
    const remark = text.indexOf(";", equals);
    const end = remark < 0 ? text.length : remark;
    return element(
        "code",
        {},
        element("span", { class: "code-key" }, text.slice(0, equals)),
        text.slice(equals, end),
        remark >= 0 && element("span", { class: "code-comment" }, text.slice(end)),
    );
}

/** @param {Finding} finding */
function remark(finding) {
    return element(
        "div",
        { class: `remark is-${symbolOf(finding)}-remark` },
        icon(symbolOf(finding)),
        body(finding),
    );
}

/** @param {Finding} finding */
function body(finding) {
    const advice = said(finding.advice);
    return element(
        "div",
        {},
        element(
            "p",
            {},
            element("strong", {}, t(`finding.${finding.severity}`)),
            " ",
            element("span", { class: "finding-code" }, finding.code),
        ),
        element("p", {}, said(finding.message)),
        advice && element("p", { class: "muted" }, element("span", {}, `${t("finding.advice")} `), advice),
    );
}

/** @param {Finding[]} findings @param {(line: number) => void} goTo */
export function findingList(findings, goTo) {
    return element(
        "ol",
        {},
        ...findings.map((finding) =>
            element(
                "li",
                { class: `finding is-${symbolOf(finding)}-remark` },
                icon(symbolOf(finding)),
                element(
                    "div",
                    {},
                    finding.line
                        ? element(
                              "button",
                              { type: "button", class: "line-link", on: { click: () => goTo(finding.line) } },
                              t("finding.line", { n: finding.line }),
                          )
                        : element("span", {}, t("finding.file")),
                    body(finding),
                ),
            ),
        ),
    );
}

/** "2 errors, 1 warning" with a sign. @param {{errors: number, warnings: number}} counts */
export function summaryOf({ errors, warnings }) {
    const text = [
        errors && t("configuration.errors", { n: errors }),
        warnings && t("configuration.warnings", { n: warnings }),
    ].filter(Boolean);
    const condition = errors ? "bad" : warnings ? "uncertain" : "good";
    return element(
        "span",
        { class: `quality is-${condition}` },
        icon(condition === "good" ? "check" : condition),
        text.join(", ") || t("configuration.clean"),
    );
}

/** @param {Finding[]} findings @returns {{errors: number, warnings: number}} */
export function countsOf(findings) {
    const errors = findings.filter(({ severity }) => severity === "error").length;
    return { errors, warnings: findings.length - errors };
}
