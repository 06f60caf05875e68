// Makes elements. Text enters the document as text nodes only, so nothing that a server sends can become markup.

/** Characters that turn the text after them around, so that "\u202egnp.exe" would read as a picture's name. */
const directionMarks = /[\u202a-\u202e\u2066-\u2069]/g;
const svgNamespace = "http://www.w3.org/2000/svg";

/**
 * @param {string} tag
 * @param {Record<string, unknown>} [properties] `class`, `on` (listeners by event), DOM properties, or else attributes;
 *   null, undefined and false leave an attribute out
 * @param {...(Node | string | null | undefined | false)} children
 * @returns {HTMLElement}
 */
export function element(tag, properties = {}, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
        if (name === "class") node.className = String(value);
        else if (name === "on") listen(node, /** @type {Record<string, EventListener>} */ (value));
        else if (name in node && !name.includes("-") && name !== "list") node[name] = value;
        else if (value !== null && value !== undefined && value !== false)
            node.setAttribute(name, String(value));
    }
    const shown = children.filter((child) => child || child === "");
    node.append(...shown.map((child) => (typeof child === "string" ? harmless(child) : child)));
    return node;
}

/** Shows direction marks as what they are. @param {string} text */
function harmless(text) {
    return text.replace(directionMarks, "\ufffd");
}

/** @param {EventTarget} node @param {Record<string, EventListener>} listeners */
function listen(node, listeners) {
    for (const [event, listener] of Object.entries(listeners)) node.addEventListener(event, listener);
}

/** One of the symbols in index.html, as decoration. @param {string} name */
export function icon(name) {
    const svg = document.createElementNS(svgNamespace, "svg");
    svg.setAttribute("class", "icon");
    svg.setAttribute("aria-hidden", "true");
    const use = document.createElementNS(svgNamespace, "use");
    use.setAttribute("href", `#i-${name}`);
    svg.append(use);
    return svg;
}

/** Shows another symbol. @param {Element} svg @param {string} name */
export function setIcon(svg, name) {
    svg.firstElementChild?.setAttribute("href", `#i-${name}`);
}

/** Changes a text only if it differs: an equal one would still cost layout. @param {Node} node @param {string} text */
export function setText(node, text) {
    if (node.textContent !== text) node.textContent = harmless(text);
}

/** @param {string} selector @param {ParentNode} [root] @returns {HTMLElement} */
export function find(selector, root = document) {
    const node = root.querySelector(selector);
    if (!node) throw new Error(`the page lacks ${selector}`);
    return /** @type {HTMLElement} */ (node);
}

/**
 * A button with an icon and a visible or spoken text.
 * @param {string} symbol @param {string} text @param {() => void} action @param {{quiet?: boolean, class?: string}} [options]
 */
export function iconButton(symbol, text, action, options = {}) {
    const label = options.quiet ? null : element("span", {}, text);
    return element(
        "button",
        {
            type: "button",
            class: `button ${options.class ?? ""}`,
            on: { click: action },
            "aria-label": options.quiet ? text : null,
            title: options.quiet ? text : "",
        },
        icon(symbol),
        label,
    );
}

/** What a view shows in place of nothing, with the reason. @param {string} text @param {string} [symbol] @param {string} [advice] */
export function notice(text, symbol = "info", advice = "") {
    return element(
        "div",
        { class: "notice" },
        icon(symbol),
        element("p", {}, text),
        advice && element("p", { class: "muted" }, advice),
    );
}

/** Calls `action` when no call came for `ms`. @template {unknown[]} A @param {number} ms @param {(...a: A) => void} action */
export function debounced(ms, action) {
    let timer = 0;
    /** @param {A} args */
    const call = (...args) => {
        clearTimeout(timer);
        timer = setTimeout(() => action(...args), ms);
    };
    call.cancel = () => clearTimeout(timer);
    return call;
}

/** Says a text to screen readers, without showing it. @param {string} text */
export function announce(text) {
    setText(find("#announcer"), text);
}
