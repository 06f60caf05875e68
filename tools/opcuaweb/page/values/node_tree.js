// The tree of the server's folders and objects.
import { get } from "../data/api.js";
import { t } from "../text/language.js";
import { Tree } from "../widgets/tree.js";

/** The Objects folder, the top of every server. */
export const topNode = "i=85";
/** More objects than this are tags of a controller: the table shows them, and the search finds them. */
const mostObjects = 50;
const symbols = { folder: "folder", tag: "tag" };

/** @param {(id: string) => void} onSelect @param {() => void} onLoaded more names are known */
export function nodeTree(onSelect, onLoaded) {
    return new Tree({
        label: t("tree.label"),
        top: { id: topNode, name: t("tree.all"), children: true },
        onSelect,
        onLoaded,
        load: async (node, signal) => {
            const { nodes } = await get("children", { node }, signal);
            const objects = nodes.filter(({ kind }) => kind === "tag");
            const shown = objects.length > mostObjects ? ["folder"] : ["folder", "tag"];
            return nodes
                .filter(({ kind }) => shown.includes(kind))
                .map((found) => ({ ...found, symbol: symbols[found.kind] }));
        },
    });
}
