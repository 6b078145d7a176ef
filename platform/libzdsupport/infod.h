#pragma once

namespace zandorin {

/// The local socket of the system information service.
inline constexpr const char *infod_socket = "/var/run/infod.sock";

} // namespace zandorin

/// Pushes one text to the system information service: the datagram "<key>\0<kind>\0<text>" (kind in
/// decimal) to its socket. Dropped quietly when nobody listens or the service is behind; never
/// waits. 0 when the service took it, -1 otherwise.
int infod_push_text(const char *key, int kind, const char *text);
