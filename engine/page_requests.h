#pragma once

namespace zandorin {

class Engine;

/// Answers the small questions that page scripts ask, in JSON; false when the request asks for a
/// page. They wait for nothing, neither configurators nor the helper of a login, and change nothing
/// but the session's end. Who may use no page (see Engine::mayUsePages) gets {"login":true}.
///
///     form=configurators               {"running":true,"uptime":3600,"run":[
///                                        {"name":"ssl","state":"running","seconds":4,"age":0}]}
///     form=check&type=ipv4&label=Server&value=10.0&page=smtp&name=config.system.smtp.server
///                                      {"message":"<i>Server</i> must be ..."}, "" when accepted
///
///     form=terminal&target=port3       {"ticket":"9f..."}, for the terminal's socket; with "watch"
///                                      one that only watches (see docs/terminal.md)
///     form=portlog&port=3              the log as a file, text/plain; with "older" the file before
///     form=portlog&port=3&from=1024    what came since that byte: a line with the byte that comes
///                                      next, then the text, with "stamps" with its time stamps
///
/// "run" is the last run of configurators (see configurator_status.h); "seconds" is how long one
/// has taken so far or took, "age" how long ago it ended; "uptime" is the system's, -1 when it
/// cannot be told. A message is markup, the first that a form would show: of the type, else of
/// what the page's table says of its field "name". Passwords and
/// names of files are not checked.
bool answerPageRequest(Engine &engine);

} // namespace zandorin
