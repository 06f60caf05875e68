// The overview: is the server alive, how many values are there, which of them need attention, what was reported last.
import { element, icon, setIcon, setText } from "../widgets/dom.js";
import { age, count, dateTime, longSpan, missing, shortTime } from "../text/format.js";
import { said, t } from "../text/language.js";
import { addressOf } from "../frame/router.js";
import { summaryOf } from "../configuration/findings.js";
import { Attention } from "./attention.js";
import { isFrozen, now, on, store } from "../data/store.js";

const conditions = ["good", "uncertain", "bad", "old"];

/** @type {import("../app.js").MakeView} */
export function overviewView(root) {
    const page = parts();
    const attention = new Attention();
    root.append(
        page.health,
        page.values,
        attention.root,
        page.journal,
        element("div", { class: "overview-side" }, page.configuration, page.connection),
    );
    const paint = () => paintAll(page);
    const ends = ["overview", "link", "page", "hello"].map((event) => on(event, paint));
    const timer = setInterval(paint, 1000);
    paint();
    return {
        leave() {
            ends.forEach((end) => end());
            clearInterval(timer);
            attention.leave();
        },
    };
}

/** The elements of the view; painting changes only their texts. */
function parts() {
    const facts = (/** @type {string[]} */ names) =>
        Object.fromEntries(names.map((name) => [name, element("dd", {}, missing)]));
    const sign = icon("wait");
    const state = element("h2", { class: "state" }, "…");
    const since = element("p", { class: "muted since" });
    const newest = element("strong", {}, missing);
    const bar = element(
        "div",
        { class: "share", "aria-hidden": "true" },
        ...conditions.map((name) => element("span", { class: `share-${name}`, hidden: true })),
    );
    const tiles = Object.fromEntries(conditions.map((name) => [name, tile(name)]));
    const total = element("strong", {}, missing);
    const sweep = element("p", { class: "muted small" });
    const messages = element("ol", { class: "messages" });
    const findings = element("p", { class: "findings" });
    const link = facts(["product", "address", "service", "browsers", "watched", "version"]);
    return {
        sign,
        state,
        since,
        newest,
        bar,
        tiles,
        total,
        sweep,
        messages,
        findings,
        link,
        health: panel(
            "health live",
            element("div", { class: "health-sign" }, sign),
            element("div", {}, state, since),
            element("p", { class: "newest" }, element("span", {}, t("overview.newest")), newest),
        ),
        values: panel(
            "counts live",
            element("div", { class: "total" }, element("h2", {}, t("overview.values")), total),
            element("div", { class: "tiles" }, ...conditions.map((name) => tiles[name].root)),
            bar,
            sweep,
        ),
        journal: panel("journal-card", heading("overview.journal", "journal"), messages),
        configuration: panel("findings-card", heading("overview.configuration", "configuration"), findings),
        connection: panel(
            "connection",
            heading("overview.connection"),
            element(
                "dl",
                { class: "facts" },
                ...Object.entries(link).flatMap(([name, value]) => [
                    element("dt", {}, t(`overview.${name}`)),
                    value,
                ]),
            ),
        ),
    };
}

/** @param {string} kind @param {...Node} children */
function panel(kind, ...children) {
    return element("section", { class: `panel ${kind}` }, ...children);
}

/** @param {string} text @param {string} [view] where more of it is */
function heading(text, view) {
    return element(
        "header",
        {},
        element("h2", { class: "grow" }, t(text)),
        view &&
            element(
                "a",
                { href: addressOf(view) },
                t("overview.more"),
                element("span", { class: "spoken" }, ` ${t(text)}`),
            ),
    );
}

/** A count that leads to the rows that it counts. @param {string} name */
function tile(name) {
    const number = element("strong", {}, missing);
    const label = element("span", {}, icon(name), t(`quality.${name}`));
    const root = element(
        "a",
        { class: `tile tile-${name}`, href: addressOf("values", name === "good" ? {} : { only: name }) },
        label,
        number,
    );
    return { root, number };
}

function paintAll(page) {
    paintHealth(page);
    paintCounts(page);
    paintMessages(page);
    paintFindings(page);
    paintConnection(page);
}

function paintHealth(page) {
    const { overview, link } = store;
    const condition = !overview ? "none" : isFrozen() ? "bad" : healthOf(overview);
    page.health.dataset.condition = condition;
    setIcon(page.sign, { none: "wait", bad: "bad", uncertain: "uncertain", good: "check" }[condition]);
    if (!overview) {
        setText(page.state, t(link?.connected === false ? "overview.unreachable" : "overview.waiting"));
        return;
    }
    setText(page.state, isFrozen() ? t("overview.unreachable") : stateText(overview, condition));
    const start = overview.server?.startTime;
    setText(
        page.since,
        start ? t("overview.since", { time: dateTime(start), span: longSpan(now() - start) }) : "",
    );
    setText(page.newest, overview.newest ? t("overview.ago", { span: age(overview.newest) }) : missing);
}

/** Service level 255 is full service; the controller's server falls to 1 when its database has ended. @param {any} overview */
function healthOf(overview) {
    const { server } = overview;
    if (server?.state && server.state !== "Running") return "bad";
    return standsStill(overview) || (server?.serviceLevel ?? 255) < 200 ? "uncertain" : "good";
}

/** No value at all is new, on a server whose times move on. @param {any} overview */
function standsStill({ newest, oldAfter }) {
    return Boolean(newest && oldAfter) && now() - newest > oldAfter * 1000;
}

/** @param {any} overview @param {string} condition */
function stateText(overview, condition) {
    if (condition === "bad") return t("overview.state", { state: overview.server.state });
    if (standsStill(overview)) return t("overview.still");
    return t(condition === "uncertain" ? "overview.degraded" : "overview.running");
}

function paintCounts(page) {
    const { overview } = store;
    if (!overview) return;
    const isCounting = overview.variables === null;
    setText(page.total, isCounting ? `${count(overview.counted)} …` : count(overview.variables));
    const all = Math.max(
        1,
        conditions.reduce((sum, name) => sum + (overview[name] ?? 0), 0),
    );
    conditions.forEach((name, i) => {
        const n = overview[name];
        setText(page.tiles[name].number, count(n));
        page.tiles[name].root.classList.toggle("is-present", n > 0);
        // Grow in proportion; a single bad value of ten thousand still is as wide as a finger.
        page.bar.children[i].style.flexGrow = String((n ?? 0) / all);
        page.bar.children[i].hidden = !n;
    });
    const parts = [
        isCounting ? t("overview.counting") : "",
        overview.sweep ? t("overview.sweep", { time: shortTime(overview.sweep) }) : "",
        overview.oldAfter ? t("overview.oldAfter", { n: overview.oldAfter }) : "",
    ];
    setText(page.sweep, parts.filter(Boolean).join(" · "));
}

function paintMessages(page) {
    const messages = store.overview?.journal;
    page.journal.hidden = store.hello?.journal === false;
    if (!messages) return;
    const newest = messages.slice(-5).reverse();
    const mark = JSON.stringify(newest) + document.documentElement.lang;
    if (page.messages.dataset.mark === mark) return;
    page.messages.dataset.mark = mark;
    page.messages.replaceChildren(
        ...(newest.length ? newest.map(messageLine) : [element("li", { class: "muted" }, t("journal.none"))]),
    );
}

/** @param {any} message */
function messageLine(message) {
    return element(
        "li",
        {},
        element("time", { dateTime: new Date(message.time).toISOString() }, shortTime(message.time)),
        element("span", { class: "code" }, String(message.code)),
        element("span", {}, [message.variable, said(message.text)].filter(Boolean).join(": ")),
    );
}

function paintFindings(page) {
    const findings = store.overview?.findings;
    page.configuration.hidden = store.hello?.configuration === false;
    if (!findings) return;
    const mark = JSON.stringify(findings) + document.documentElement.lang;
    if (page.findings.dataset.mark === mark) return;
    page.findings.dataset.mark = mark;
    page.findings.replaceChildren(summaryOf(findings));
}

function paintConnection(page) {
    const { overview, hello } = store;
    const server = overview?.server;
    const level = server?.serviceLevel;
    setText(
        page.link.product,
        [server?.name, server?.product, server?.version].filter(Boolean).join(" · ") || missing,
    );
    setText(page.link.address, hello?.url ?? missing);
    setText(page.link.service, typeof level === "number" ? `${level} / 255` : missing);
    setText(page.link.browsers, count(overview?.browsers));
    setText(page.link.watched, count(overview?.watched));
    setText(page.link.version, hello?.version ?? missing);
}
