// The state of both connections, page to program and program to server: a mark in the header, and a banner while one is lost.
import { find, setIcon, setText } from "../widgets/dom.js";
import { said, t } from "../text/language.js";
import { dateTime, shortTime } from "../text/format.js";
import { on, store } from "../data/store.js";

/**
 * @typedef {{kind: "good" | "waiting" | "lost", mark: string, text: string, detail: string, retry: boolean}} Connection
 */

/** What the operator can do about a refusal, by the program's word. */
const advice = { "too-many-browsers": "link.closeOne", "password-needed": "link.passwordAdvice" };

let version = "";

/** @param {() => void} retryNow */
export function startBanner(retryNow) {
    find("#banner-retry").addEventListener("click", retryNow);
    find("#banner-reload").addEventListener("click", () => location.reload());
    for (const event of ["page", "link", "hello"]) on(event, show);
    on("hello", (hello) => noteVersion(hello.version));
    setInterval(countDown, 1000);
    show();
}

/** Modules of an old page may not suit a new program. @param {string} running */
function noteVersion(running) {
    if (version && version !== running) find("#banner-reload").hidden = false;
    version = running;
    show();
}

/** @returns {Connection} */
function connection() {
    const { page, link } = store;
    const isFirst = page.state === "connecting" && !store.hello && !page.problem;
    if (isFirst || (page.state === "connected" && !link)) return calm("waiting", "link.connecting");
    if (page.state !== "connected") return programLost(page.problem);
    if (!link.connected) return serverLost(link);
    return calm("good", "link.connected");
}

/** @param {"good" | "waiting"} kind @param {string} key @returns {Connection} */
function calm(kind, key) {
    return { kind, mark: t(key), text: "", detail: "", retry: false };
}

/** @param {import("../data/api.js").Problem} [problem] what the program answered, if it refused @returns {Connection} */
function programLost(problem) {
    const mark = t("link.programMark");
    if (!problem) {
        const detail = t("link.programAdvice");
        return { kind: "lost", mark, text: t("link.programLost"), detail, retry: true };
    }
    const detail = problem.code in advice ? t(advice[problem.code]) : "";
    return { kind: "lost", mark, text: sentence(problem.message), detail, retry: true };
}

/** @param {{problem: any, since: number}} link @returns {Connection} */
function serverLost({ problem, since }) {
    const text = sentence(said(problem) || t("link.serverLost"));
    const detail = store.overview || !since ? "" : sentence(t("link.since", { time: dateTime(since) }));
    return { kind: "lost", mark: t("link.serverMark"), text, detail, retry: false };
}

/** The program's texts have no full stop. @param {string} text */
function sentence(text) {
    return /[.!?]$/.test(text) ? text : `${text}.`;
}

export function show() {
    const state = connection();
    const isLost = state.kind === "lost";
    document.body.classList.toggle("is-frozen", isLost);
    const mark = find("#link-mark");
    mark.dataset.kind = state.kind;
    setText(find("span", mark), state.mark);
    setIcon(find("svg", mark), { good: "link", waiting: "wait", lost: "unlink" }[state.kind]);
    const needsReload = !find("#banner-reload").hidden;
    find("#banner").hidden = !isLost && !needsReload;
    setText(find("#banner-text"), isLost ? state.text : needsReload ? t("link.newVersion") : "");
    setText(find("#banner-detail"), isLost ? [state.detail, frozenText()].filter(Boolean).join(" ") : "");
    find("#banner-retry").hidden = !state.retry;
    countDown();
}

/** Of when the values are that are still shown. */
function frozenText() {
    const newest = store.overview?.newest;
    return newest ? t("link.frozen", { time: shortTime(newest) }) : "";
}

/** Outside the live region: a screen reader would read every second. */
function countDown() {
    const { retryAt, state } = store.page;
    const seconds = state === "lost" && retryAt ? Math.max(0, Math.ceil((retryAt - Date.now()) / 1000)) : 0;
    setText(find("#banner-count"), seconds ? t("link.retryIn", { n: seconds }) : "");
}
