#include "codec/filter/listener_registry.h"

namespace codec {

ListenerRegistry& ListenerRegistry::Instance() {
  static auto* const registry = new ListenerRegistry;
  return *registry;
}

}  // namespace codec
