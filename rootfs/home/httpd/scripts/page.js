// Brings the scripts that pages are complete without, in this order. Asked for by the page itself, they would share the
// line with its style sheet, and the page would be painted later.
(function () {
    "use strict";

    ["labels", "fields", "draft", "work", "find"].forEach(function (name) {
        var script = document.createElement("script");
        script.src = "scripts/" + name + ".js";
        script.async = false;
        document.head.appendChild(script);
    });
})();
