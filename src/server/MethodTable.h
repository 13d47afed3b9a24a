#pragma once

#include <xmlrpc-c/base.h>
#include <xmlrpc-c/server.h>

namespace quorel {

/// Adds the methods of the client interface to a registry. They act on `graphProxy`.
void registerMethods(xmlrpc_env* env, xmlrpc_registry* registry);

}  // namespace quorel
