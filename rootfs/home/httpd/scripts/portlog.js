// The log of a port goes on by itself while its newest part is shown. Where somebody has scrolled up to read, it stays.
(function () {
    "use strict";

    var STEP = 1000;           // milliseconds between two questions
    var MOST = 512 * 1024;     // characters that are kept on the page
    var log = document.querySelector(".port-log[data-to]");
    if (!log) {
        return;
    }
    var next = Number(log.dataset.to);

    function atEnd() {
        return log.scrollHeight - log.scrollTop - log.clientHeight < 40;
    }

    function add(text) {
        var follow = atEnd();
        log.append(text);
        while (log.textContent.length > MOST && log.firstChild !== log.lastChild) {
            log.firstChild.remove();
        }
        if (follow) {
            log.scrollTop = log.scrollHeight;
        }
    }

    function take(buffer) {
        // The line of its own that ends every answer is none of the log's.
        var text = new TextDecoder().decode(buffer).replace(/\n$/, "");
        var line = text.indexOf("\n");
        if (line < 0 || isNaN(Number(text.slice(0, line)))) {
            return;
        }
        var to = Number(text.slice(0, line));
        if (to < next) {
            log.replaceChildren();
        }
        next = to;
        if (line + 1 < text.length) {
            add(text.slice(line + 1));
        }
    }

    function ask() {
        if (document.hidden) {
            window.setTimeout(ask, STEP);
            return;
        }
        fetch("?form=portlog&port=" + log.dataset.port + "&from=" + next + (log.dataset.stamps ? "&stamps=on" : ""),
            { cache: "no-store" }).then(function (answer) {
            return answer.arrayBuffer();
        }).then(take).catch(function () {}).then(function () {
            window.setTimeout(ask, STEP);
        });
    }

    log.scrollTop = log.scrollHeight;
    window.setTimeout(ask, STEP);
})();
