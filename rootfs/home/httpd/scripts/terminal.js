// The terminal page: a WebSocket to the port service, shown by xterm.js. The frames are those of docs/terminal.md: a
// type, the length in two bytes, the payload; they arrive as a stream, in messages of any size.
(function () {
    "use strict";

    var page = document.getElementById("terminal-page");
    var place = document.getElementById("terminal");
    var state = document.getElementById("terminal-state");
    if (!page || !window.Terminal) {
        if (state) {
            state.textContent = "The files of the terminal are not installed.";
        }
        return;
    }

    var ALIVE = 60000;              // milliseconds between two signs of use to the session
    var WAITS = [1, 2, 4, 8, 15];   // seconds before another try
    var PART = 4096;                // bytes of a frame of keys
    var watches = page.dataset.watch === "on";
    var isPort = page.dataset.target !== "shell";
    var socket = null;
    var received = new Uint8Array(0);
    var tries = 0;
    var over = false;               // ended for good
    var mode = null;                // what the service said last
    var alive = 0;
    var control = false;            // the next key is one with Ctrl
    var timer = null;

    var terminal = new window.Terminal({
        cursorBlink: true,
        fontFamily: "ui-monospace, \"Liberation Mono\", Menlo, Consolas, monospace",
        fontSize: Number(recall("size")) || 14,
        linkHandler: { activate: function () {} },  // what a device sends opens nothing
        screenReaderMode: recall("reader") === "on",
        scrollback: 10000,
        theme: { background: "#10191d" }
    });
    var fit = new window.FitAddon.FitAddon();
    var search = new window.SearchAddon.SearchAddon();
    terminal.loadAddon(fit);
    terminal.loadAddon(search);

    function recall(name) {
        try {
            return window.localStorage.getItem("terminal." + name);
        } catch (refused) {
            return null;
        }
    }

    function remember(name, value) {
        try {
            window.localStorage.setItem("terminal." + name, value);
        } catch (refused) {
            return;
        }
    }

    function say(text, isLost) {
        state.textContent = text;
        state.className = isLost ? "lost" : "";
    }

    function button(action) {
        return page.querySelector("[data-action='" + action + "']");
    }

    function send(type, payload) {
        if (!socket || socket.readyState !== WebSocket.OPEN) {
            return;
        }
        var frame = new Uint8Array(payload.length + 3);
        frame[0] = type.charCodeAt(0);
        frame[1] = payload.length >> 8;
        frame[2] = payload.length & 255;
        frame.set(payload, 3);
        socket.send(frame);
    }

    function sendSize() {
        send("R", [terminal.cols >> 8, terminal.cols & 255, terminal.rows >> 8, terminal.rows & 255]);
    }

    // Somebody who types is there, whatever the time since the last page.
    function keepSession() {
        if (Date.now() - alive > ALIVE) {
            alive = Date.now();
            fetch("?form=configurators", { cache: "no-store" }).catch(function () {});
        }
    }

    function type(bytes) {
        for (var at = 0; at < bytes.length; at += PART) {
            send("D", bytes.subarray(at, at + PART));
        }
        keepSession();
    }

    function typeText(text) {
        if (control && text.length === 1) {
            var code = text.toUpperCase().charCodeAt(0);
            text = code >= 63 && code <= 95 ? String.fromCharCode(code === 63 ? 127 : code & 31) : text;
        }
        setControl(false);
        type(new TextEncoder().encode(text));
    }

    function setControl(on) {
        control = on;
        button("key:ctrl").setAttribute("aria-pressed", on ? "true" : "false");
    }

    function show(told) {
        mode = told;
        var writes = told.mode === "write";
        if (!isPort) {
            say("Open");
        } else if (writes) {
            say("You write");
        } else if (watches) {
            say(told.writer ? told.writer + " writes, you watch" : "You watch");
        } else {
            say(told.writer ? told.writer + " writes. Take over?" : "You watch. Take over to write.");
        }
        button("take").hidden = !isPort || writes || watches;
        button("break").hidden = !isPort || !writes;
    }

    var handlers = {
        D: function (payload) { terminal.write(payload); },
        S: function (payload) { show(JSON.parse(new TextDecoder().decode(payload))); },
        E: function (payload) {
            var told = JSON.parse(new TextDecoder().decode(payload));
            over = !told.again;
            if (over) {
                say(told.reason, true);
                button("take").hidden = true;
                button("break").hidden = true;
            }
        }
    };

    function take(bytes) {
        var all = new Uint8Array(received.length + bytes.length);
        all.set(received);
        all.set(bytes, received.length);
        var at = 0;
        while (all.length - at >= 3) {
            var length = all[at + 1] << 8 | all[at + 2];
            if (all.length - at < length + 3) {
                break;
            }
            var handler = handlers[String.fromCharCode(all[at])];
            if (handler) {
                handler(all.slice(at + 3, at + 3 + length));
                tries = 0;
            }
            at += length + 3;
        }
        received = all.slice(at);
    }

    function lost() {
        socket = null;
        if (over || timer) {
            return;
        }
        var wait = WAITS[Math.min(tries, WAITS.length - 1)];
        tries += 1;
        say("The connection was lost. Trying again in " + wait + " s", true);
        timer = window.setTimeout(function () {
            timer = null;
            open();
        }, 1000 * wait);
    }

    function connect(ticket) {
        var address = new URL("terminal", window.location.href);
        address.protocol = address.protocol === "https:" ? "wss:" : "ws:";
        address.search = address.hash = "";
        received = new Uint8Array(0);
        socket = new WebSocket(address, ["binary"]);  // as mod_wstunnel answers
        socket.binaryType = "arraybuffer";
        socket.onopen = function () {
            send("T", new TextEncoder().encode(ticket));
            sendSize();
        };
        socket.onmessage = function (message) { take(new Uint8Array(message.data)); };
        socket.onclose = lost;
    }

    function open() {
        fetch("?form=terminal&target=" + encodeURIComponent(page.dataset.target) + (watches ? "&watch=1" : ""),
            { cache: "no-store" }).then(function (answer) {
            return answer.json();
        }).then(function (told) {
            if (told.ticket) {
                connect(told.ticket);
                return;
            }
            over = true;
            say(told.login ? "The session has ended. Log in again." : "No terminal is opened now.", true);
        }).catch(lost);
    }

    function paste(text) {
        var lines = text.replace(/\r\n?|\n$/g, function (end, at) { return at + end.length === text.length ? "" : "\n"; }).split("\n").length;
        if (lines > 1 && !window.confirm("Send " + lines + " lines to the device?")) {
            return;
        }
        terminal.paste(text);
    }

    function everything() {
        var buffer = terminal.buffer.active;
        var text = "";
        for (var line = 0; line < buffer.length; line += 1) {
            var row = buffer.getLine(line);
            var next = buffer.getLine(line + 1);
            text += row.translateToString(!(next && next.isWrapped)) + (next && next.isWrapped ? "" : "\n");
        }
        return text.replace(/\n+$/, "\n");
    }

    function save() {
        var link = document.createElement("a");
        link.href = URL.createObjectURL(new Blob([everything()], { type: "text/plain" }));
        link.download = page.dataset.target.replace("/", "-") + ".txt";
        link.click();
        URL.revokeObjectURL(link.href);
    }

    function resize(step) {
        terminal.options.fontSize = Math.min(Math.max(terminal.options.fontSize + step, 8), 32);
        remember("size", String(terminal.options.fontSize));
        fit.fit();
    }

    function copy() {
        if (navigator.clipboard) {
            navigator.clipboard.writeText(terminal.getSelection());
        } else {
            document.execCommand("copy");
        }
    }

    function full() {
        if (document.fullscreenElement) {
            document.exitFullscreen();
        } else if (page.requestFullscreen) {
            page.requestFullscreen();
        }
    }

    function reader() {
        terminal.options.screenReaderMode = !terminal.options.screenReaderMode;
        remember("reader", terminal.options.screenReaderMode ? "on" : "off");
        button("reader").setAttribute("aria-pressed", String(terminal.options.screenReaderMode));
    }

    var actions = {
        "take": function () { send("W", []); },
        "break": function () { send("B", []); },
        "copy": copy,
        "smaller": function () { resize(-1); },
        "larger": function () { resize(1); },
        "save": save,
        "full": full,
        "reader": reader,
        "key:ctrl": function () { setControl(!control); },
        "key:esc": function () { typeText("\x1b"); },
        "key:tab": function () { typeText("\t"); },
        "key:up": function () { typeText("\x1b[A"); },
        "key:down": function () { typeText("\x1b[B"); },
        "key:right": function () { typeText("\x1b[C"); },
        "key:left": function () { typeText("\x1b[D"); }
    };
    var stays = ["copy", "smaller", "larger", "full", "reader", "save"]; // these do not ask for the next key

    page.addEventListener("click", function (event) {
        var pressed = event.target.closest("[data-action]");
        if (!pressed) {
            return;
        }
        actions[pressed.dataset.action]();
        if (stays.indexOf(pressed.dataset.action) < 0) {
            terminal.focus();
        }
    });
    page.querySelector(".terminal-find").addEventListener("submit", function (event) {
        event.preventDefault();
        if (!search.findPrevious(event.target.words.value)) {
            say("Not found", false);
        }
    });
    place.addEventListener("paste", function (event) {
        event.preventDefault();
        event.stopPropagation();
        paste(event.clipboardData.getData("text/plain"));
    }, true);
    terminal.attachCustomKeyEventHandler(function (event) {
        if (event.ctrlKey && event.key === "F6") {
            if (event.type === "keydown") {
                button("copy").focus();
            }
            return false;
        }
        return true;
    });
    terminal.onData(typeText);
    terminal.onBinary(function (text) {
        type(Uint8Array.from(text, function (letter) { return letter.charCodeAt(0); }));
    });
    terminal.onResize(sendSize);
    window.addEventListener("resize", function () { fit.fit(); });
    document.addEventListener("fullscreenchange", function () { fit.fit(); });
    window.addEventListener("beforeunload", function () { over = true; });

    terminal.open(place);
    fit.fit();
    button("take").hidden = true;
    button("break").hidden = true;
    button("reader").setAttribute("aria-pressed", String(terminal.options.screenReaderMode));
    terminal.focus();
    open();
})();
