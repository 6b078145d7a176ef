// Nothing lost: leaving a page with unsaved changes asks first, and what was sent after the session had ended is kept in
// this tab until its user has logged in again. Passwords are never kept, nor what else the page marks as a secret:
// inputs that a browser is told not to complete.
(function () {
    "use strict";

    // {"user", "form", "name" of the form element, "address", "values": {"<name>|<n>": value or whether it is checked},
    // "expired": the login page was the answer}
    var memory = window.browserMemory("sessionStorage", "zandorin.draft");
    var data = JSON.parse(document.getElementById("page-data").textContent);
    var forms = Array.from(document.querySelectorAll("main form")).filter(function (form) {
        return form.method === "post";
    });
    var unsaved = data.submitted && document.querySelector("main .error-message") !== null;
    var leaving = false;

    // Every input under its name and how many of that name came before. What a select holds is its value.
    function valuesOf(form, withSecrets) {
        var seen = {}, values = {};
        Array.from(form.elements).forEach(function (input) {
            if (!input.name || /^(hidden|submit|button|image|file)$/.test(input.type))
                return;
            var key = input.name + "|" + (seen[input.name] = (seen[input.name] || 0) + 1);
            if (input.type === "checkbox" || input.type === "radio")
                values[key] = input.checked;
            else if (withSecrets || (input.type !== "password" && input.autocomplete !== "off"))
                values[key] = input.value;
        });
        return values;
    }

    function put(form, values) {
        var seen = {};
        Array.from(form.elements).forEach(function (input) {
            var key = input.name + "|" + (seen[input.name] = (seen[input.name] || 0) + 1);
            if (typeof values[key] === "boolean")
                input.checked = values[key];
            else if (key in values)
                input.value = values[key];
        });
    }

    function restore(draft) {
        var form = forms.filter(function (candidate) { return candidate.name === draft.name; })[0];
        if (!form)
            return;
        put(form, draft.values);
        unsaved = true;
        var box = document.createElement("p");
        box.className = "info-message";
        box.setAttribute("role", "status");
        document.querySelector("main h1").insertAdjacentElement("afterend", box);
        box.textContent = "Your session had ended, and nothing was saved. What you had typed in is here again, except " +
            "for passwords and the like: look it through and send it once more.";
    }

    // What becomes of a draft, by the page that is shown now.
    function settle(draft) {
        if (data.form === "login" && !data.user) {
            draft.expired = true;
            memory.remember(draft);
        } else if (!draft.expired || draft.user !== data.user) {
            memory.remember(null);
        } else if (data.form === "login") {
            // Back to the form, instead of to the first page.
            window.location.replace(draft.address || "?form=" + encodeURIComponent(draft.form));
        } else if (draft.form === data.form) {
            restore(draft);
            memory.remember(null);
        }
    }

    var initially = forms.map(function (form) { return JSON.stringify(valuesOf(form, true)); });

    function isEdited(form, n) {
        return JSON.stringify(valuesOf(form, true)) !== initially[n];
    }

    var draft = memory.recall();
    if (draft)
        settle(draft);

    forms.forEach(function (form) {
        form.addEventListener("submit", function () {
            leaving = true;
            if (data.user)
                memory.remember({ user: data.user, form: data.form, name: form.name, address: window.location.search,
                                  values: valuesOf(form, false) });
        });
    });
    window.addEventListener("pageshow", function () { leaving = false; });
    window.addEventListener("beforeunload", function (event) {
        if (leaving || !data.user || !(unsaved || forms.some(isEdited)))
            return;
        event.preventDefault();
        event.returnValue = "";
    });
})();
