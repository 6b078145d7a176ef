#pragma once

namespace zandorin {

class Cgi;
struct NavLeaf;

// Against cross-site request forgery (CSRF): requests that another web site makes a user's browser
// send. The browser adds the session cookie by itself, so that the session alone does not say whose
// wish a request is.

/// True when a browser says that a page of another site made this request: by Sec-Fetch-Site
/// (W3C Fetch Metadata) when it sends that, otherwise by an Origin, or else a Referer, that is
/// neither this request's Host nor the management proxy's base address (HTTP_X_BASE_URI, where that
/// is a whole URL). A client that sends none of them counts as no browser.
bool isForeignRequest();

/// True when the request may change something: it is no GET, a field of it is a command or a value
/// of the configuration, or its page acts when it is opened. `leaf` is the page's, null for none.
bool isCommand(const Cgi &cgi, const NavLeaf *leaf);

} // namespace zandorin
