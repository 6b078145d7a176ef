// The menus of check and action types: shows the panel of the chosen type without a page load.
// Without this script a button beside the menu does it.
function checkMenuSelect(type, menu) {
    "use strict";
    var suffix = "_" + (menu || "check") + "_div";
    var chosen = document.getElementById(type + suffix);
    if (!chosen)
        return;
    var panels = chosen.parentNode.children;
    for (var i = 0; i < panels.length; i++)
        if (panels[i].id.slice(-suffix.length) === suffix)
            panels[i].style.display = panels[i] === chosen ? "block" : "none";
}

document.addEventListener("DOMContentLoaded", function () {
    "use strict";
    // Taken away, not hidden: the first button of a form is what the Enter key presses.
    var buttons = document.querySelectorAll(".type-select");
    for (var i = 0; i < buttons.length; i++)
        buttons[i].parentNode.removeChild(buttons[i]);
});

// A browser that comes back to the page restores the choice, not the panel.
window.addEventListener("pageshow", function () {
    "use strict";
    var chosen = document.querySelectorAll("input[type=radio][onclick^=checkMenuSelect]:checked");
    for (var i = 0; i < chosen.length; i++)
        chosen[i].onclick();
});
