// Starts the page: its frame, the link to the program, and the view that the address names.
import { rowOf } from "./data/api.js";
import { show as showBanner, startBanner } from "./frame/banner.js";
import { announce, element, find, setIcon, setText } from "./widgets/dom.js";
import { plainValue, timeOfDay } from "./text/format.js";
import { startKeys } from "./frame/keys.js";
import { language, onLanguage, setLanguage, t, translate } from "./text/language.js";
import { Link } from "./data/link.js";
import { here, startRouter } from "./frame/router.js";
import { now, on, store, take } from "./data/store.js";
import { nextTheme, theme } from "./style/theme.js";
import { startWatching } from "./data/watch.js";
import { configurationView } from "./configuration/configuration.js";
import { journalView } from "./journal/journal.js";
import { overviewView } from "./overview/overview.js";
import { trendsView } from "./trends/trends.js";
import { valuesView } from "./values/values.js";

/**
 * A view is made anew on each visit.
 * @typedef {object} View
 * @property {(parameters: Record<string, string>) => void} [arrive] the address changed within the view
 * @property {() => void} leave releases listeners, timers and requests
 *
 * @typedef {(root: HTMLElement, parameters: Record<string, string>) => View} MakeView
 */

/** @type {Record<string, MakeView>} */
const makers = {
    overview: overviewView,
    values: valuesView,
    trends: trendsView,
    journal: journalView,
    configuration: configurationView,
};

const toastMs = 10_000;
const mostToasts = 4;

/** @type {View | null} */
let view = null;
let shown = "";

/** @param {import("./frame/router.js").Place} place */
function arrive(place) {
    if (place.view === shown && view?.arrive) return view.arrive(place.parameters);
    const isFirst = shown === "";
    mount(place);
    if (isFirst) return;
    announce(t(`nav.${place.view}`));
    find("#view").focus({ preventScroll: true });
    scrollTo(0, 0);
}

/** @param {import("./frame/router.js").Place} place */
function mount(place) {
    view?.leave();
    shown = place.view;
    const root = find("#view");
    root.replaceChildren();
    root.className = `view view-${shown}`;
    root.setAttribute("aria-label", t(`nav.${shown}`));
    root.append(element("h1", { class: "spoken" }, t(`nav.${shown}`)));
    for (const link of document.querySelectorAll("#nav a")) {
        if (link.getAttribute("data-view") === shown) link.setAttribute("aria-current", "page");
        else link.removeAttribute("aria-current");
    }
    view = makers[shown](root, place.parameters);
    title();
}

function title() {
    const server = store.overview?.server?.name ?? "";
    setText(find("#server-name"), server || t("product"));
    document.title = [t(`nav.${shown}`), server, "opcuaweb"].filter(Boolean).join(" · ");
}

/** Views that the program was started without are not offered. */
function showOffered() {
    const { journal, configuration } = store.hello ?? { journal: true, configuration: true };
    find('#nav [data-view="journal"]').parentElement.hidden = !journal;
    find('#nav [data-view="configuration"]').parentElement.hidden = !configuration;
    find("#writes-mark").hidden = !store.hello?.writes;
}

function startSwitches() {
    const themeButton = find("#theme-button");
    const showTheme = () => {
        setIcon(find("svg", themeButton), `theme-${theme()}`);
        const text = t(`theme.${theme()}`);
        themeButton.setAttribute("aria-label", text);
        themeButton.title = text;
    };
    themeButton.addEventListener("click", () => {
        nextTheme();
        showTheme();
        announce(t(`theme.${theme()}`));
    });
    find("#language-button").addEventListener("click", () => setLanguage(language() === "ru" ? "en" : "ru"));
    onLanguage(() => {
        translate();
        showTheme();
        showBanner();
        mount(here());
    });
    showTheme();
}

/** Somebody wrote a value: every operator sees it for a while. @param {any} write */
async function showWrite({ node, old, new: written, address }) {
    const row = await rowOf(node).catch(() => undefined); // then its id is name enough
    const values = { old: plainValue(old), new: plainValue(written), unit: row?.unit ? ` ${row.unit}` : "" };
    const name = row ? [row.tag, row.item].filter(Boolean).join(" · ") : node;
    const toast = element("p", { class: "toast" }, t("writes.made", { name, ...values, address }));
    const toasts = find("#toasts");
    toasts.append(toast);
    while (toasts.children.length > mostToasts) toasts.firstElementChild.remove();
    setTimeout(() => toast.remove(), toastMs);
}

function start() {
    translate();
    startSwitches();
    startKeys();
    startWatching();
    const link = new Link(take, (state) => take("page", state));
    startBanner(() => link.retryNow());
    on("hello", showOffered);
    on("overview", title);
    on("write", showWrite);
    setInterval(() => setText(find("#clock"), store.overview ? timeOfDay(now()) : ""), 1000);
    startRouter(arrive);
    link.run();
}

start();
