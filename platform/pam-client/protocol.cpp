#include "platform/pam-client/protocol.h"
