// Help at the inputs: an example of what is expected, the server's own judgement while one types, and after a refused
// submission the refused inputs, marked and found from the list of errors. Nothing here keeps a form from being sent.
(function () {
    "use strict";

    // Examples by element type, whose rules are in the server alone (types/elem_types.cpp).
    var EXAMPLES = {
        address: "192.0.2.10, 2001:db8::10 or host.example.net",
        addresslist: "192.0.2.10, ntp.example.net",
        addressportlist: "192.0.2.10:49,[2001:db8::10]:49",
        email: "ops@example.net, night@example.net",
        hostname: "rack-5.example.net",
        integer: "-5",
        ip: "192.0.2.10 or 2001:db8::10",
        iporsubnet: "192.0.2.10 or 192.0.2.0/24",
        ipv4: "192.0.2.10",
        ipv6: "2001:db8::10",
        mac: "00:00:5e:00:53:01",
        netmask: "255.255.255.0 or 24",
        netmask_cidr: "64",
        netmask_ipv4_cidr: "24",
        numeric: "30",
        phonenumber: "+44 20 7946 0000",
        port: "A number from 1 to 65534",
        sshauthkey: "ssh-ed25519 AAAAC3Nza... name@host",
        subnet: "192.0.2.0/24",
        subnetlist: "192.0.2.0/24,198.51.100.0/24",
        tcpport: "A number from 1 to 65535",
        tcpportrange: "5000-5010",
        unsigned16bit: "A number from 0 to 65535",
        userposix: "jsmith",
        username: "jsmith or j.smith@example.net"
    };
    var PAUSE = 400; // milliseconds without a key before a value is checked
    var data = JSON.parse(document.getElementById("page-data").textContent);
    var fields = data.fields;
    var count = 0;

    function plain(markup) {
        return /[&<]/.test(markup) ? new DOMParser().parseFromString(markup, "text/html").body.textContent : markup;
    }

    function inputsNamed(name) {
        return Array.from(document.querySelectorAll("main [name='" + CSS.escape(name) + "']"));
    }

    function isTyped(input) {
        return input.tagName === "TEXTAREA" || input.tagName === "INPUT" && input.type === "text";
    }

    // The page's own words say it already: a range, an example, the characters that are taken.
    function isExplained(input) {
        return /\d|such as|letters/.test(Array.from(input.parentNode.childNodes).map(function (node) {
            return node.nodeType === Node.TEXT_NODE || node.tagName === "B" ? node.textContent : "";
        }).join(""));
    }

    // Where the page's own words about an input end.
    function endOfHelp(input) {
        var end = input;
        while (end.nextSibling && (end.nextSibling.nodeType === Node.TEXT_NODE || /^(BR|B|I|SPAN)$/.test(end.nextSibling.tagName)))
            end = end.nextSibling;
        return end;
    }

    // A line behind that node, which assistive tools read with the input.
    function addLine(input, kind, text, node) {
        var line = document.createElement("span");
        line.className = kind;
        line.id = kind + ++count;
        line.textContent = text;
        node.after(line);
        var others = input.getAttribute("aria-describedby");
        input.setAttribute("aria-describedby", others ? line.id + " " + others : line.id);
        return line;
    }

    // Marks an input as refused, or with no message as fine again.
    function mark(input, message) {
        var line = input.remark;
        if (!line && !message)
            return;
        if (!line)
            line = input.remark = addLine(input, "remark", "", input);
        line.textContent = message;
        line.hidden = !message;
        input.classList.toggle("refused", Boolean(message));
        input.setAttribute("aria-invalid", String(Boolean(message)));
    }

    // As a form of the page would be sent: ISO-8859-1, and what that lacks as a reference.
    function encoded(text) {
        return window.escape(text.replace(/[^\0-\xff]/gu, function (character) {
            return "&#" + character.codePointAt(0) + ";";
        })).replace(/\+/g, "%2B");
    }

    function check(input, type, label) {
        var value = input.value, asked = { form: "check", type: type, label: label, value: value, page: data.form, name: input.name };
        if (!value) {
            mark(input, "");
            return;
        }
        fetch("?form=check", {
            method: "POST",
            headers: { "Content-Type": "application/x-www-form-urlencoded" },
            body: Object.keys(asked).map(function (key) { return key + "=" + encoded(asked[key]); }).join("&")
        }).then(function (answer) {
            return answer.json();
        }).then(function (answer) {
            if (input.value === value && !answer.login)
                mark(input, plain(answer.message));
        }).catch(function () {
            // The server judges what is sent to it, anyway.
        });
    }

    function help(name) {
        var type = fields[name][0], label = plain(fields[name][1]);
        inputsNamed(name).filter(isTyped).forEach(function (input) {
            var timer = 0;
            input.fieldLabel = label;
            if (EXAMPLES[type] && !isExplained(input))
                addLine(input, "hint", (/^A /.test(EXAMPLES[type]) ? "" : "For example: ") + EXAMPLES[type], endOfHelp(input));
            input.addEventListener("input", function () {
                window.clearTimeout(timer);
                timer = window.setTimeout(check, PAUSE, input, type, label);
            });
        });
    }

    // The inputs that an error speaks of: by its label, and where several share that, by the value it quotes.
    function refusedBy(box) {
        var words = Array.from(box.querySelectorAll("i")).map(function (word) { return word.textContent; });
        var names = Object.keys(fields).filter(function (name) { return words.indexOf(plain(fields[name][1])) >= 0; });
        var inputs = names.reduce(function (all, name) { return all.concat(inputsNamed(name)); }, []);
        if (!inputs.length)
            inputs = Array.from(document.querySelectorAll("main td.field-label")).filter(function (cell) {
                var label = cell.textContent.trim();
                return label && (words.indexOf(label) >= 0 || box.textContent.indexOf("'" + label + "'") >= 0);
            }).map(function (cell) {
                return cell.nextElementSibling && cell.nextElementSibling.querySelector("input:not([type=hidden]), select, textarea");
            }).filter(Boolean);
        var exact = inputs.filter(function (input) { return words.indexOf(input.value) > 0; });
        return exact.length ? exact : inputs.slice(0, 1);
    }

    function showRefusals() {
        var first = null;
        document.querySelectorAll("main .error-message").forEach(function (box) {
            refusedBy(box).forEach(function (input) {
                var word = box.querySelector("b");
                mark(input, box.textContent.replace(word ? word.textContent : "", "").trim());
                input.id = input.id || "refused" + ++count;
                if (word) {
                    var link = document.createElement("a");
                    link.href = "#" + input.id;
                    link.textContent = word.textContent;
                    word.replaceChildren(link);
                    link.addEventListener("click", function (event) {
                        event.preventDefault();
                        input.focus();
                    });
                }
                if (!first || input.compareDocumentPosition(first) & Node.DOCUMENT_POSITION_FOLLOWING)
                    first = input;
            });
        });
        if (first)
            first.focus();
    }

    Object.keys(fields).forEach(help);
    showRefusals();
    // One comes here to type. On a phone the keyboard would cover the page.
    var first = document.querySelector("main form input:not([type=hidden])");
    if (data.form === "login" && first && !window.matchMedia("(pointer: coarse)").matches)
        first.focus();
})();
