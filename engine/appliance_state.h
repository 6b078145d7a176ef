#pragma once

namespace zandorin {

class ConfigManager;

// What the configuration says about the appliance as a whole.

/// Root's password is not the factory default. Costs a password hash.
bool isRootPasswordChanged(const ConfigManager &store);
bool isWanConfigured(const ConfigManager &store);
bool hasUsers(const ConfigManager &store);
bool hasCmsNodes(const ConfigManager &store);
bool isDialerEnabled(const ConfigManager &store);
bool isDialoutMasqueradeEnabled(const ConfigManager &store);
/// Some network interface forwards to dial-out.
bool hasDialoutForwards(const ConfigManager &store);
/// Some serial port has a speed.
bool hasPortSpeeds(const ConfigManager &store);
/// Some user has a password of his own, that is any but "x".
bool hasStoredUserPasswords(const ConfigManager &store);

} // namespace zandorin
