// The side navigation: branches that fold, and on narrow screens a button that folds all of it.
// Pages stay usable without this script: everything is then unfolded.
(function () {
    "use strict";

    var memory = window.browserMemory("localStorage", "zandorin.nav.folded"); // titles of the folded branches

    function recall() {
        var titles = memory.recall();
        return Array.isArray(titles) ? titles : null;
    }

    function branchOf(n) {
        var body = document.getElementById("branch" + n);
        var icon = document.getElementById("icon" + n);
        if (!body || !icon)
            return null;
        return { body: body, icon: icon, heading: icon.parentNode };
    }

    function titleOf(branch) {
        return branch.heading.textContent.trim();
    }

    function isFolded(branch) {
        return branch.body.classList.contains("folded");
    }

    function fold(branch, folded) {
        branch.body.classList.toggle("folded", folded);
        branch.heading.setAttribute("aria-expanded", String(!folded));
        var icon = branch.icon.src.replace(/icon-(expand|collapse)\.png/, folded ? "icon-expand.png" : "icon-collapse.png");
        if (icon !== branch.icon.src)
            branch.icon.src = icon;
    }

    function markCurrent() {
        var form = JSON.parse(document.getElementById("page-data").textContent).form;
        var links = document.querySelectorAll("#related-links a, .top-button a");
        for (var i = 0; i < links.length; i++) {
            var target = /[?&]form=([^&#]*)/.exec(links[i].getAttribute("href"));
            if (form && target && target[1] === form)
                links[i].setAttribute("aria-current", "page");
        }
        // The icons repeat the words beside them.
        var icons = document.querySelectorAll("#related-links img, .top-button img, .section-icon");
        for (var k = 0; k < icons.length; k++)
            icons[k].alt = "";
    }

    function addMenuButton() {
        var side = document.getElementById("side");
        var links = document.getElementById("related-links");
        if (!side || !links)
            return;
        var button = document.createElement("button");
        button.type = "button";
        button.id = "menu-button";
        button.textContent = "Menu";
        button.setAttribute("aria-controls", links.id);
        function show(open) {
            side.classList.toggle("closed", !open);
            button.setAttribute("aria-expanded", String(open));
        }
        button.addEventListener("click", function () {
            show(side.classList.contains("closed"));
        });
        side.insertBefore(button, side.firstChild);
        show(false);
    }

    // Folds or unfolds branch n, counted from 0, and remembers it.
    window.navToggle = function (n) {
        var branch = branchOf(n);
        if (!branch)
            return;
        fold(branch, !isFolded(branch));
        var title = titleOf(branch);
        var titles = (recall() || []).filter(function (known) { return known !== title; });
        if (isFolded(branch))
            titles.push(title);
        memory.remember(titles);
    };

    // Called at the end of the panel. A browser that remembers nothing yet starts unfolded, or, when
    // the appliance's configuration lists hidden branches (hiddenCount above 0), folded.
    window.navInit = function (hiddenCount, branchCount) {
        var known = recall();
        for (var n = 0; n < branchCount; n++) {
            var branch = branchOf(n);
            if (!branch)
                continue;
            // The user may open nothing in it.
            if (!branch.body.querySelector("a")) {
                branch.heading.style.display = branch.body.style.display = "none";
                continue;
            }
            var heading = branch.heading;
            heading.setAttribute("role", "button");
            heading.setAttribute("tabindex", "0");
            heading.setAttribute("aria-controls", branch.body.id);
            heading.addEventListener("keydown", function (event) {
                if (event.key === "Enter" || event.key === " ") {
                    event.preventDefault();
                    event.currentTarget.click();
                }
            });
            fold(branch, known ? known.indexOf(titleOf(branch)) >= 0 : hiddenCount > 0);
        }
        addMenuButton();
        document.addEventListener("DOMContentLoaded", markCurrent);
    };
})();
