// The nodes that a configuration results in.
import { element, notice } from "../widgets/dom.js";
import { t } from "../text/language.js";
import { Tree } from "../widgets/tree.js";

/** @param {import("./configuration.js").ResultNode[]} nodes a parent comes before its children @returns {HTMLElement} */
export function configurationTree(nodes) {
    if (!nodes.length) return notice(t("configuration.noTree"), "configuration");
    const ids = new Set(nodes.map((node) => node.id));
    const topId = nodes.find((node) => !ids.has(node.parent))?.parent ?? "i=85";
    const children = byParent(nodes);
    const tree = new Tree({
        label: t("configuration.tree"),
        top: { id: topId, name: "Objects", children: true },
        load: async (id) => (children.get(id) ?? []).map((node) => shown(node, children.has(node.id))),
    });
    const variables = nodes.filter((node) => node.class.toLowerCase() === "variable").length;
    return element(
        "div",
        { class: "result-tree" },
        element("p", { class: "muted small" }, t("configuration.nodes", { n: nodes.length, variables })),
        tree.root,
    );
}

/** @param {import("./configuration.js").ResultNode} node @param {boolean} hasChildren */
function shown(node, hasChildren) {
    const isVariable = node.class.toLowerCase() === "variable";
    const note = [
        node.dataType,
        node.access,
        isVariable || !hasChildren ? node.id : "",
        node.uncertain ? t("configuration.uncertain") : "",
    ];
    return {
        id: node.id,
        name: node.name,
        children: hasChildren,
        symbol: isVariable ? "values" : "folder",
        note: note.filter(Boolean).join(" · "),
    };
}

/** @param {import("./configuration.js").ResultNode[]} nodes */
function byParent(nodes) {
    /** @type {Map<string, import("./configuration.js").ResultNode[]>} */
    const children = new Map();
    for (const node of nodes) {
        const siblings = children.get(node.parent);
        if (siblings) siblings.push(node);
        else children.set(node.parent, [node]);
    }
    return children;
}
