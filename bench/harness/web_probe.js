// What bench/web puts into the page. Times are milliseconds since 1970.
window.bench = {
    now: () => performance.timeOrigin + performance.now(),

    /** Notes for each drawn change of a value: the value, how many cells got it, the time of the next frame. */
    watchValues() {
        const seen = (this.seen = []);
        const numberOf = (text) => Number(text.replace(/[^0-9.]/g, ""));
        new MutationObserver((mutations) => {
            const counts = new Map();
            for (const { target } of mutations) {
                const cell = (target.nodeType === Node.TEXT_NODE ? target.parentElement : target)?.closest(".value-number");
                if (!cell) continue;
                const value = numberOf(cell.textContent);
                counts.set(value, (counts.get(value) ?? 0) + 1);
            }
            // The changes belong to the frame that is being made now; when the next one begins, they are on screen.
            requestAnimationFrame(() => counts.forEach((count, value) => seen.push([value, count, this.now()])));
        }).observe(document.querySelector(".table-body"), { subtree: true, childList: true, characterData: true });
    },

    /** Notes how long each frame takes, until `endFrames`. */
    beginFrames() {
        const frames = (this.frames = []);
        let before = performance.now();
        const step = () => {
            const now = performance.now();
            frames.push(now - before);
            before = now;
            if (this.frames === frames) requestAnimationFrame(step);
        };
        requestAnimationFrame(step);
    },
    endFrames() {
        const frames = this.frames;
        this.frames = null;
        return frames.slice(1);
    },

    /** Scrolls the table down and up again, a fixed distance for each frame. */
    scroll(seconds, pixels) {
        const table = document.querySelector(".table");
        const end = performance.now() + seconds * 1000;
        let way = pixels;
        this.beginFrames();
        return new Promise((resolve) => {
            const step = () => {
                const last = table.scrollHeight - table.clientHeight;
                if (table.scrollTop + way > last || table.scrollTop + way < 0) way = -way;
                table.scrollTop += way;
                if (performance.now() < end) requestAnimationFrame(step);
                else resolve(this.endFrames());
            };
            requestAnimationFrame(step);
        });
    },

    /** Jumps to a part of the table. @returns ms until every row on screen has its value */
    jump(part) {
        const table = document.querySelector(".table");
        const begin = performance.now();
        table.scrollTop = part * table.scrollHeight;
        const isFilled = () => {
            const box = table.getBoundingClientRect();
            return [...document.querySelectorAll(".table-body .row")].every((row) => {
                const { top, bottom } = row.getBoundingClientRect();
                return bottom < box.top || top > box.bottom || row.querySelector(".value-number").textContent !== "—";
            });
        };
        return new Promise((resolve) => {
            let frames = 0; // the rows of the new place are there after the next frame
            const step = () => {
                if (++frames > 2 && isFilled()) resolve(performance.now() - begin);
                else requestAnimationFrame(step);
            };
            requestAnimationFrame(step);
        });
    },
};
