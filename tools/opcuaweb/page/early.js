// Runs before the first paint, so that a remembered theme and language do not flash. A classic script, because modules
// run after the document has been parsed.
(() => {
    const root = document.documentElement;
    try {
        const theme = localStorage.getItem("opcuaweb.theme");
        if (theme === "light" || theme === "dark") root.dataset.theme = theme;
        const language = localStorage.getItem("opcuaweb.language") ?? navigator.language;
        root.lang = language.startsWith("ru") ? "ru" : "en";
    } catch {
        // Storage may be forbidden; the page then follows the browser.
        root.lang = navigator.language.startsWith("ru") ? "ru" : "en";
    }
})();
