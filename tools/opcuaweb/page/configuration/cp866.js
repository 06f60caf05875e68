// CP866, the code page of the controller's files. Only its letters and the signs that configurations use.

/** What follows ASCII, in the order of the code page from 0x80; the frames between are left out by their places. */
const upper = "АБВГДЕЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯабвгдежзийклмноп"; // 0x80 to 0xAF
const lower = "рстуфхцчшщъыьэюяЁёЄєЇїЎў°∙·√№¤■\u00a0"; // 0xE0 to 0xFF

/** @type {Map<string, number>} */
const bytes = new Map([
    ...[...upper].map((letter, i) => /** @type {const} */ ([letter, 0x80 + i])),
    ...[...lower].map((letter, i) => /** @type {const} */ ([letter, 0xe0 + i])),
]);

/** @param {string} text @returns {Uint8Array} "?" for characters that the code page lacks */
export function encodeCp866(text) {
    const encode = (/** @type {string} */ letter) => {
        const code = letter.codePointAt(0) ?? 0x3f;
        return code < 0x80 ? code : (bytes.get(letter) ?? 0x3f);
    };
    return Uint8Array.from([...text], encode);
}
