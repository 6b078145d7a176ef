// What a browser keeps for the console under one key, as JSON: in "localStorage" for good, in "sessionStorage" for the
// tab. Private windows and full or forbidden storage mean that nothing is kept, which is null, and no error.
window.browserMemory = function (storage, key) {
    "use strict";
    return {
        recall: function () {
            try {
                return JSON.parse(window[storage].getItem(key));
            } catch (e) {
                return null;
            }
        },
        remember: function (value) {
            try {
                window[storage].setItem(key, JSON.stringify(value));
            } catch (e) {
                return;
            }
        }
    };
};
