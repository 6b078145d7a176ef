// Folds or unfolds the section of a settings table: the body #section<id> is of class "expanded" or
// "collapsed", and the icon #section-icon<id> says which.
function sectionToggle(id) {
    "use strict";
    var section = document.getElementById("section" + id);
    var icon = document.getElementById("section-icon" + id);
    if (!section)
        return;
    var collapsed = section.className !== "collapsed";
    section.className = collapsed ? "collapsed" : "expanded";
    if (icon)
        icon.src = icon.src.replace(
            /icon-(expand|collapse)\.png/, collapsed ? "icon-expand.png" : "icon-collapse.png");
}
