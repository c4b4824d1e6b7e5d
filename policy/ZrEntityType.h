#pragma once

#include <cstdint>

#include "support/export.h"

// The kind of entity that a link binds to a policy. Known to hosts as ZrPolicyCache::EntityType; it stands by itself
// because the cache holds a link by value. Any 32-bit number can be cast to it and passed in.
enum ZrEntityType : std::int32_t {
  ZR_ENTITY_DEFAULT = 0,   // the default policy; only the cache's own default link is of this type
  ZR_ENTITY_USER = 1,      // a user name
  ZR_ENTITY_GROUP = 2,     // a group name
  ZR_ENTITY_HOSTNAME = 3,  // a host name
  ZR_ENTITY_IP = 4,        // one IPv4 address
  ZR_ENTITY_IP_RANGE = 5,  // the first and the last IPv4 address of a range
  ZR_ENTITY_OTHER = 6,     // any other key
};

// The names of the entity types, indexed by their values: "DEFAULT", "USER", "GROUP", "HOSTNAME", "IP", "IP_RANGE",
// "OTHER". For the host's use; constant, so any thread may read it.
extern ZR_EXPORT const char* const g_rule_entity[7];
