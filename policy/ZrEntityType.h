#pragma once

#include <cstdint>

#include "support/export.h"

// The kind of entity that a link binds to a policy. Known to hosts as ZrPolicyCache::EntityType; it stands by itself
// because the cache holds a link by value. Any 32-bit number can be cast to it.
enum ZrEntityType : std::int32_t {
  ZR_ENTITY_DEFAULT = 0,
  ZR_ENTITY_USER = 1,
  ZR_ENTITY_GROUP = 2,
  ZR_ENTITY_HOSTNAME = 3,
  ZR_ENTITY_IP = 4,
  ZR_ENTITY_IP_RANGE = 5,
  ZR_ENTITY_OTHER = 6,
};

// The names of the entity types, indexed by their values.
extern ZR_EXPORT const char* const g_rule_entity[7];
