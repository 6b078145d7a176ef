// The search box over the navigation: pages by their label and id, settings by label, key and help. "/" goes there from
// anywhere; without a word it offers the pages that were visited last.
(function () {
    "use strict";

    var memory = window.browserMemory("localStorage", "zandorin.visited"); // form ids, the latest first
    var MOST = 12, VISITED = 6;
    var data = JSON.parse(document.getElementById("page-data").textContent);
    var input = document.querySelector("#find input");
    var list = document.getElementById("found");
    var pages = [];    // {form, label, branch}
    var settings = null; // [[form id, label, key, help], ...], loaded when first needed
    var shown = [];    // what the list offers: {page, label, detail, target: key of a setting or ""}
    var chosen = -1;   // index in it

    function visited() {
        return (memory.recall() || []).filter(function (form) { return form !== data.form && pageOf(form); }).slice(0, VISITED);
    }

    function gatherPages() {
        document.querySelectorAll("#related-links .branch").forEach(function (branch) {
            var heading = branch.previousElementSibling.textContent.trim();
            branch.querySelectorAll("a").forEach(function (link) {
                pages.push({ form: /[?&]form=([^&#]*)/.exec(link.getAttribute("href"))[1],
                             label: link.textContent, branch: heading });
            });
        });
    }

    function pageOf(form) {
        return pages.filter(function (page) { return page.form === form; })[0];
    }

    function visit() {
        if (pageOf(data.form))
            memory.remember([data.form].concat(visited()));
    }

    // How well a text fits: its beginning best, then the beginning of a word, then anywhere. 0 is not at all.
    function weight(text, word) {
        var at = text.toLowerCase().indexOf(word);
        return at < 0 ? 0 : at === 0 ? 3 : /\w/.test(text[at - 1]) ? 1 : 2;
    }

    function matches(word) {
        var found = [];
        pages.forEach(function (page) {
            var w = Math.max(weight(page.label, word), weight(page.form, word));
            if (w)
                found.push({ weight: w + 3, page: page, label: page.label, detail: page.branch, target: "" });
        });
        (settings || []).forEach(function (row) {
            var page = pageOf(row[0]);
            var w = Math.max(weight(row[1], word), weight(row[2], word) ? 0.8 : 0, weight(row[3], word) ? 0.5 : 0);
            if (page && w)
                found.push({ weight: w, page: page, label: row[1], detail: page.branch + " \u203a " + page.label, target: row[2] });
        });
        return found.sort(function (a, b) { return b.weight - a.weight; }).slice(0, MOST);
    }

    function recent() {
        return visited().map(pageOf).map(function (page) {
            return { page: page, label: page.label, detail: page.branch, target: "" };
        });
    }

    function line(entry, n) {
        var item = document.createElement("li");
        var detail = document.createElement("small");
        item.id = "found" + n;
        item.setAttribute("role", "option");
        item.textContent = entry.label;
        detail.textContent = entry.detail;
        item.appendChild(detail);
        item.addEventListener("mousedown", function (event) { event.preventDefault(); });
        item.addEventListener("click", function () { go(entry); });
        return item;
    }

    function heading(text) {
        var item = document.createElement("li");
        item.className = "heading";
        item.setAttribute("role", "presentation");
        item.textContent = text;
        return item;
    }

    function go(entry) {
        window.location = "?form=" + entry.page.form + (entry.target ? "#" + entry.target : "");
        if (entry.page.form === data.form)
            pointOut();
        close();
    }

    function choose(n) {
        chosen = n;
        list.querySelectorAll("[role=option]").forEach(function (item, i) {
            item.setAttribute("aria-selected", String(i === n));
            if (i === n)
                item.scrollIntoView({ block: "nearest" });
        });
        if (n < 0)
            input.removeAttribute("aria-activedescendant");
        else
            input.setAttribute("aria-activedescendant", "found" + n);
    }

    function open() {
        var word = input.value.trim().toLowerCase();
        shown = word ? matches(word) : recent();
        list.replaceChildren.apply(list, shown.map(line));
        if (!word && shown.length)
            list.prepend(heading("Visited last"));
        else if (!shown.length && word)
            list.prepend(heading("Nothing found"));
        list.hidden = !list.children.length;
        input.setAttribute("aria-expanded", String(shown.length > 0));
        choose(word && shown.length ? 0 : -1);
    }

    function close() {
        list.hidden = true;
        input.setAttribute("aria-expanded", "false");
        choose(-1);
    }

    function loadSettings() {
        if (settings)
            return;
        settings = [];
        fetch("scripts/search.json").then(function (answer) { return answer.json(); }).then(function (rows) {
            settings = rows;
            if (document.activeElement === input)
                open();
        }).catch(function () {});
    }

    // A setting that was found is where the page opens.
    function pointOut() {
        var key = decodeURIComponent(window.location.hash.slice(1));
        var field = key && document.querySelector("main [name='" + CSS.escape(key) + "']");
        if (!field)
            return;
        field.scrollIntoView({ block: "center" });
        field.focus();
    }

    function onKey(event) {
        if (event.key === "ArrowDown" || event.key === "ArrowUp") {
            event.preventDefault();
            if (list.hidden)
                open();
            if (shown.length)
                choose((chosen + (event.key === "ArrowDown" ? 1 : -1) + shown.length) % shown.length);
        } else if (event.key === "Escape") {
            input.value = "";
            close();
        }
    }

    gatherPages();
    if (!pages.length)
        return;
    visit();
    pointOut();
    input.addEventListener("focus", function () { loadSettings(); open(); });
    input.addEventListener("input", open);
    input.addEventListener("blur", close);
    input.addEventListener("keydown", onKey);
    document.getElementById("find").addEventListener("submit", function (event) {
        event.preventDefault();
        if (shown[chosen])
            go(shown[chosen]);
    });
    document.addEventListener("keydown", function (event) {
        if (event.key === "/" && !event.ctrlKey && !event.metaKey && !event.altKey &&
            !/^(INPUT|SELECT|TEXTAREA)$/.test(document.activeElement.tagName)) {
            event.preventDefault();
            input.focus();
        }
    });
})();
