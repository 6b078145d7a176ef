// Long work shows itself: which configurator runs after a save, and how long; and while the appliance restarts, the page
// waits for it and goes on by itself.
(function () {
    "use strict";

    var STEP = 700;    // milliseconds between two questions
    var data = JSON.parse(document.getElementById("page-data").textContent);
    var since = Date.now();
    var box = null;

    function ask(then, otherwise) {
        fetch("?form=configurators", { cache: "no-store" }).then(function (answer) {
            return answer.json();
        }).then(then).catch(otherwise);
    }

    function list() {
        if (!box) {
            var anchor = document.querySelector("main .info-message") || document.querySelector("main h1");
            var frame = document.createElement("div");
            frame.id = "work";
            frame.className = "info-message";
            frame.setAttribute("role", "status");
            box = document.createElement("ul");
            frame.appendChild(box);
            anchor.insertAdjacentElement("afterend", frame);
        }
        return box;
    }

    function show(lines) {
        list().replaceChildren.apply(list(), lines.map(function (line) {
            var item = document.createElement("li");
            item.textContent = line.text;
            item.className = line.busy ? "busy" : "";
            return item;
        }));
    }

    function seconds(entry) {
        return entry.seconds === 0 ? "less than a second" : entry.seconds === 1 ? "1 second" : entry.seconds + " seconds";
    }

    var WORDS = {
        waiting: function (entry) { return entry.name + " waits for its turn"; },
        running: function (entry) { return entry.name + " runs, " + seconds(entry) + " so far"; },
        done: function (entry) { return entry.name + " done in " + seconds(entry); },
        failed: function (entry) { return entry.name + " failed after " + seconds(entry) + "; the system log tells why"; }
    };

    function describe(entry) {
        return { text: WORDS[entry.state](entry), busy: entry.state === "running" };
    }

    function conclude(run) {
        var failed = run.filter(function (entry) { return entry.state === "failed"; });
        list().parentNode.className = failed.length ? "error-message" : "info-message";
        show((failed.length ? [{ text: "The running system is not in line with the configuration." }]
                            : [{ text: "The running system is in line with the configuration." }]).concat(run.map(describe)));
    }

    // Begun after this page was asked for; the figures are whole seconds.
    function isOwn(entry) {
        return entry.age + entry.seconds <= window.performance.now() / 1000 + 1;
    }

    function watch(answer) {
        if (answer.login)
            return;
        if (answer.running) {
            show(answer.run.some(function (entry) { return entry.state === "running"; }) ? answer.run.map(describe)
                : [{ text: "The configurators start", busy: true }]);
            window.setTimeout(ask, STEP, watch, function () { window.setTimeout(ask, STEP, watch, function () {}); });
        } else if (answer.run.length && (box || isOwn(answer.run[0]))) {
            conclude(answer.run);
        }
    }

    // The appliance is back when it answers after it did not, or after a start that is newer than this page.
    function waitForRestart() {
        var uptime = -1, gone = false;
        function again() {
            show([{ text: "Waiting for the appliance to come back, " + Math.round((Date.now() - since) / 1000) +
                          " seconds so far", busy: true }]);
            window.setTimeout(ask, 2 * STEP, look, lost);
        }
        function lost() {
            gone = true;
            again();
        }
        function look(answer) {
            if (gone || answer.login || answer.uptime < uptime) {
                show([{ text: "The appliance is back." }]);
                window.location.replace("?");
                return;
            }
            uptime = answer.uptime;
            again();
        }
        ask(look, lost);
    }

    var changes = document.getElementById("changes");
    var message = document.querySelector("main .info-message");
    if (changes && message && data.form !== "commit")
        message.appendChild(changes);

    if (data.user && data.form === "reboot" && /is rebooting/.test(document.querySelector("main").textContent))
        waitForRestart();
    else if (data.user && (message || data.form === "commit"))
        ask(watch, function () {});
})();
