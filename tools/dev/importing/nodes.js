// Imports a nodeset and prints the nodes of its namespace, as JSON. node nodes.js FILE
"use strict";

const { AddressSpace } = require("node-opcua-address-space");
const { generateAddressSpace } = require("node-opcua-address-space/nodeJS");
const { nodesets } = require("node-opcua-nodesets");

const localized = (text) => [text?.locale || null, text?.text || null];

function described(node) {
    const references = node.allReferences();
    const parents = references.filter((reference) => !reference.isForward);
    const types = references.filter((reference) => reference.isForward && reference.referenceType.value === 40);
    if (parents.length !== 1 || types.length !== 1) {
        throw new Error(`${node.nodeId}: ${parents.length} parents, ${types.length} types`);
    }
    const variable = node.nodeClass === 2;
    return {
        key: node.nodeId.value,
        node_class: node.nodeClass,
        parent: parents[0].nodeId.namespace === 0 ? "Objects" : parents[0].nodeId.value,
        reference: parents[0].referenceType.value,
        type_definition: types[0].nodeId.value,
        browse_name: node.browseName.name || "",
        display_name: localized(node.displayName[0]),
        description: localized(node.description),
        access_level: variable ? node.accessLevel : null,
        data_type: variable ? node.dataType.value : null,
        value_rank: variable ? node.valueRank : null,
        historizing: variable ? node.historizing : null,
    };
}

async function main(file) {
    const addressSpace = AddressSpace.create();
    await generateAddressSpace(addressSpace, [nodesets.standard, file]);
    const nodes = [...addressSpace.getNamespace("urn:vesk").nodeIterator()];
    console.log(JSON.stringify(nodes.map(described)));
    addressSpace.dispose();
}

main(process.argv[2]).catch((error) => {
    console.error(error);
    process.exit(1);
});
