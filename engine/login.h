#pragma once

namespace zandorin {

class Cgi;
class Engine;

/// True when this request is a POST of the form "login": no other logs anybody in or goes on with a
/// login.
bool isLoginPost(const Cgi &cgi);

/// Logs a user in when this request, which has no valid session, posts the login form: starts a
/// session with the posted name and password and makes it the engine's; one that was made gets its
/// cookie on the response. Whether the login succeeded is for the session to say. Any other request
/// is left alone. While too many logins have failed (engine/login_guard.h) no login is tried: an
/// error of the request says so, and the engine's loginRefused answers true. Takes as long as the
/// authentication helper does, at most 30 seconds of silence.
void loginHandlePost(Engine &engine);

/// The login of the engine's session succeeded: its failures before that are forgotten, and of the
/// user's sessions more than config.auth.maxsessions the oldest are ended.
void loginSucceeded(Engine &engine);

} // namespace zandorin
