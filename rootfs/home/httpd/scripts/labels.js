// What assistive tools need and the pages' markup leaves out: the language, names of inputs, words of pictures,
// messages that are announced, and sections that the keyboard can fold.
(function () {
    "use strict";

    var INPUTS = "input:not([type=hidden]):not([type=submit]):not([type=button]):not([type=image]), select, textarea";
    var count = 0;

    function idOf(element) {
        if (!element.id)
            element.id = "label-" + ++count;
        return element.id;
    }

    // The text that follows a box or a button on its line becomes its label, which then is clickable, too.
    function labelChoice(input) {
        if (input.closest("label"))
            return true;
        var next = input.nextSibling;
        if (!next || next.nodeType !== Node.TEXT_NODE || !next.data.trim())
            return false;
        var label = document.createElement("label");
        input.parentNode.insertBefore(label, input);
        label.appendChild(input);
        label.appendChild(next);
        return true;
    }

    function isChoice(input) {
        return input.type === "checkbox" || input.type === "radio";
    }

    // A row of a settings table: the words of its label cell name its input, or its group of them.
    function labelRow(cell) {
        var words = cell.textContent.trim();
        var fields = cell.nextElementSibling;
        if (!words)
            cell.classList.add("bare");
        if (!words || !fields || fields.classList.contains("field-label"))
            return;
        var inputs = Array.from(fields.querySelectorAll(INPUTS));
        var named = inputs.filter(function (input) { return !isChoice(input) || !labelChoice(input); });
        var rest = inputs.filter(function (input) { return named.indexOf(input) < 0; });
        named.forEach(function (input) {
            // In a table of its own, such as the times of each day, the words of its row belong to the name.
            var inner = input.closest("tr").cells[0];
            var row = inner !== cell && inner.textContent.trim() ? " " + idOf(inner) : "";
            input.setAttribute("aria-labelledby", idOf(cell) + row);
        });
        if (rest.some(function (input) { return input.type === "radio"; })) {
            fields.setAttribute("role", "group");
            fields.setAttribute("aria-labelledby", idOf(cell));
        }
        rest.forEach(function (input) {
            if (input.name.slice(-7) === ".delete")
                input.setAttribute("aria-label", words + ": " + input.parentNode.textContent.trim());
        });
        // Words that are clicked lead to the input, as with any label.
        if (named.length === 1)
            cell.addEventListener("click", function () {
                named[0].focus();
                if (isChoice(named[0]))
                    named[0].click();
            });
    }

    // An input that no row names: by the column's heading, or by its own name.
    function labelRest(input) {
        if (input.closest("label") || input.hasAttribute("aria-label") || input.hasAttribute("aria-labelledby") ||
            isChoice(input) && labelChoice(input))
            return;
        var cell = input.closest("td"), table = input.closest("table");
        var heading = cell && table && table.rows[0] && table.rows[0].cells[cell.cellIndex];
        if (heading && heading !== cell && heading.textContent.trim())
            input.setAttribute("aria-labelledby", idOf(heading));
        else
            input.setAttribute("aria-label", input.title || input.name);
    }

    // A list: a row of headings, and rows of as many cells below it.
    function labelList(table) {
        var headings = null;
        Array.from(table.rows).forEach(function (row) {
            var cells = Array.from(row.cells);
            if (cells.length > 2 && cells.every(function (cell) { return cell.classList.contains("field-label"); })) {
                headings = cells;
                row.classList.add("headings");
                cells.forEach(function (cell) {
                    if (cell.textContent.trim())
                        cell.setAttribute("role", "columnheader");
                });
            } else if (headings && cells.length === headings.length) {
                row.classList.add("entry");
                cells.forEach(function (cell, n) { cell.dataset.heading = headings[n].textContent.trim(); });
            }
        });
    }

    function unfoldByKeyboard(cell) {
        var button = document.createElement("button");
        var section = /'([^']*)'/.exec(cell.getAttribute("onclick"));
        var body = section && document.getElementById("section" + section[1]);
        button.type = "button";
        while (cell.firstChild)
            button.appendChild(cell.firstChild);
        cell.appendChild(button);
        if (!body)
            return;
        function show() {
            button.setAttribute("aria-expanded", String(body.className !== "collapsed"));
        }
        new MutationObserver(show).observe(body, { attributes: true });
        show();
    }

    // Only what changes within such an element is read out: its contents are put in once more.
    function announce(selector, role) {
        document.querySelectorAll(selector).forEach(function (box) {
            box.setAttribute("role", role);
            window.requestAnimationFrame(function () { box.append.apply(box, Array.from(box.childNodes)); });
        });
    }

    document.documentElement.lang = "en";
    document.querySelectorAll("img:not([alt])").forEach(function (image) {
        image.alt = image.title && !image.parentNode.textContent.trim() ? image.title : "";
    });
    document.querySelectorAll("td.field-label").forEach(labelRow);
    document.querySelectorAll("table.form-table").forEach(labelList);
    document.querySelectorAll("main input, main select, main textarea").forEach(function (input) {
        if (input.matches(INPUTS))
            labelRest(input);
    });
    document.querySelectorAll("td.sub-title[onclick]").forEach(unfoldByKeyboard);
    announce(".fatal-message, .error-message", "alert");
    announce(".info-message", "status");
    // What scrolls by itself is reached by the keyboard.
    document.querySelectorAll("pre").forEach(function (text) { text.tabIndex = 0; });
})();
