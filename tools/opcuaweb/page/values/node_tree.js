// The tree of the server's folders and objects.
import { get } from "../data/api.js";
import { t } from "../text/language.js";
import { Tree } from "../widgets/tree.js";

/** The Objects folder, the top of every server. */
export const topNode = "i=85";
/** The table shows these as rows, so the tree leaves them out. */
const rowKinds = ["tag", "variable", "pen"];

/** @param {(id: string) => void} onSelect */
export function nodeTree(onSelect) {
    return new Tree({
        label: t("tree.label"),
        top: { id: topNode, name: t("tree.all"), children: true },
        onSelect,
        load: async (node, signal) => {
            const { nodes } = await get("children", { node }, signal);
            return nodes.filter(({ kind }) => !rowKinds.includes(kind));
        },
    });
}
