// Times that an operator types. All are of the browser's time zone.

const iso = /^(?<year>\d{4})-(?<month>\d\d?)-(?<day>\d\d?)(?:[T ]+(?<clock>\S+))?$/;
const dayFirst = /^(?<day>\d\d?)[./-](?<month>\d\d?)(?:[./-](?<year>\d{4}|\d\d))?(?:[, ]+(?<clock>\S+))?$/;
const clockOnly = /^(?<clock>\d\d?:\S+)$/;
const clockForm = /^(\d\d?):(\d\d)(?::(\d\d))?$/;

/**
 * Reads "22.11.2026 21:03:37", "22/11/26 21:03", "22.11" (of this year, at midnight), "21:03" (today), "2026-11-22 21:03".
 * @param {string} text @param {number} now ms since 1970 @returns {number | null} ms since 1970; null if it is no time
 */
export function readTime(text, now) {
    const trimmed = text.trim();
    const found = [iso, dayFirst, clockOnly].map((form) => form.exec(trimmed)?.groups).find(Boolean);
    const clock = clockForm.exec(found?.clock ?? "0:00");
    if (!found || !clock) return null;
    const today = new Date(now);
    const year = found.year ? Number(found.year) + (found.year.length === 2 ? 2000 : 0) : today.getFullYear();
    const month = found.month ? Number(found.month) - 1 : today.getMonth();
    const day = found.day ? Number(found.day) : today.getDate();
    const [hour, minute, second] = clock.slice(1).map((part) => Number(part ?? 0));
    const time = new Date(year, month, day, hour, minute, second);
    const isReal =
        time.getMonth() === month && time.getDate() === day && hour < 24 && minute < 60 && second < 60;
    return isReal ? time.getTime() : null;
}

/** For <input type="datetime-local">. @param {number} ms since 1970 */
export function pickerText(ms) {
    const zone = new Date(ms).getTimezoneOffset() * 60_000;
    return new Date(ms - zone).toISOString().slice(0, 19);
}
