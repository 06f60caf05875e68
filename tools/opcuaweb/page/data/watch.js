// Reports to the program which nodes are on screen. Only these are subscribed.
import { post } from "./api.js";
import { debounced } from "../widgets/dom.js";
import { on, store } from "./store.js";

/** A page that nobody sees for this long stops watching. */
const hiddenMs = 60_000;

/** @type {Map<string, string[]>} wanted nodes by the part of the page that shows them */
const wanted = new Map();
let hidden = false;
let posted = "";

/** @param {string} part @param {string[]} nodes replaces what this part wanted before; [] for nothing */
export function watch(part, nodes) {
    if (nodes.length) wanted.set(part, nodes);
    else wanted.delete(part);
    send();
}

const send = debounced(100, async () => {
    if (!store.hello || store.page.state !== "connected") return;
    const limit = store.hello.limits?.watched ?? 2000;
    const nodes = hidden ? [] : [...new Set([...wanted.values()].flat())].slice(0, limit);
    const body = { browser: store.hello.browser, nodes };
    const text = JSON.stringify(body);
    if (text === posted) return;
    posted = text;
    try {
        await post("watch", body);
    } catch {
        posted = ""; // the next change of the connection or of the screen sends again
        setTimeout(send, 2000);
    }
});

export function startWatching() {
    on("hello", () => send());
    on("link", (link) => {
        if (link.connected) send();
    });
    let timer = 0;
    document.addEventListener("visibilitychange", () => {
        clearTimeout(timer);
        if (document.hidden) timer = setTimeout(() => setHidden(true), hiddenMs);
        else setHidden(false);
    });
}

/** @param {boolean} value */
function setHidden(value) {
    hidden = value;
    send();
}
