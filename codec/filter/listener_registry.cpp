// SPDX-License-Identifier: MIT
#include "codec/filter/listener_registry.h"

namespace codec {

ListenerRegistry& ListenerRegistry::Instance() {
  // Nothing to allocate or to destroy: writers ask for it while they are being destroyed.
  static ListenerRegistry registry;
  return registry;
}

}  // namespace codec
