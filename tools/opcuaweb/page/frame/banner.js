// The state of both connections, page to program and program to server: a mark in the header, and a banner while one is lost.
import { find, setIcon, setText } from "../widgets/dom.js";
import { said, t } from "../text/language.js";
import { dateTime, timeOfDay } from "../text/format.js";
import { now, on, store } from "../data/store.js";

/** @typedef {{kind: "good" | "waiting" | "lost", mark: string, text: string, detail: string, retry: boolean}} Connection */

let version = "";
let frozenSince = 0;

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
    if (page.state === "connecting" && !store.hello) {
        return { kind: "waiting", mark: t("link.connecting"), text: "", detail: "", retry: false };
    }
    if (page.state !== "connected") {
        const text = page.problem ?? t("link.programLost");
        return {
            kind: "lost",
            mark: t("link.programMark"),
            text,
            detail: t("link.programAdvice"),
            retry: true,
        };
    }
    if (link && !link.connected) {
        const parts = [
            said(link.problem),
            link.since ? t("link.since", { time: dateTime(link.since) }) : "",
        ].filter(Boolean);
        const detail = parts.length ? `(${parts.join(", ")}).` : "";
        return { kind: "lost", mark: t("link.serverMark"), text: t("link.serverLost"), detail, retry: false };
    }
    if (!link) return { kind: "waiting", mark: t("link.connecting"), text: "", detail: "", retry: false };
    return { kind: "good", mark: t("link.connected"), text: "", detail: "", retry: false };
}

export function show() {
    const state = connection();
    const isLost = state.kind === "lost";
    if (isLost) frozenSince ||= now();
    else if (state.kind === "good") frozenSince = 0;
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

function frozenText() {
    return store.overview ? t("link.frozen", { time: timeOfDay(frozenSince) }) : "";
}

/** Outside the live region: a screen reader would read every second. */
function countDown() {
    const { retryAt, state } = store.page;
    const seconds = state === "lost" && retryAt ? Math.max(0, Math.ceil((retryAt - Date.now()) / 1000)) : 0;
    setText(find("#banner-count"), seconds ? t("link.retryIn", { n: seconds }) : "");
}
