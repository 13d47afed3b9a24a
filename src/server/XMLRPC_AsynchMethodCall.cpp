#include "server/XMLRPC_AsynchMethodCall.h"

#include <xmlrpc-c/client.h>

#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>

#include "concurrency/Log.h"
#include "server/RequestCheck.h"
#include "server/XMLRPC.h"

namespace quorel {

namespace {

/// How long a call may take before its thread is wanted back; the library rounds it up by a second or two. By itself it
/// would wait for ever.
constexpr unsigned int longestCallMilliseconds = 10000;

/// A client of this call's own: the library lets the calls of one client wait for one another.
xmlrpc_client* newClient(xmlrpc_env* env) {
  xmlrpc_curl_xportparms transport = {};
  transport.user_agent = callerAgent;
  transport.timeout = longestCallMilliseconds;
  xmlrpc_clientparms parameters = {};
  parameters.transport = "curl";
  parameters.transportparmsP = &transport;
  parameters.transportparm_size = XMLRPC_CXPSIZE(timeout);
  xmlrpc_client* client = nullptr;
  xmlrpc_client_create(env, 0, callerName, callerVersion, &parameters, XMLRPC_CPSIZE(transportparm_size), &client);
  return client;
}

/// Puts the fault that an answer carries, or that it is, into the environment.
void readAnswer(xmlrpc_env* env, xmlrpc_mem_block* answer) {
  const char* text = static_cast<const char*>(xmlrpc_mem_block_contents(answer));
  const std::size_t size = xmlrpc_mem_block_size(answer);
  // Whoever answers is no more to be trusted than whoever asks.
  if (const char* reason = reasonToRefuse(std::string_view(text, size))) {
    xmlrpc_env_set_fault(env, XMLRPC_PARSE_ERROR, reason);
    return;
  }
  xmlrpc_value* result = nullptr;
  int faultCode = 0;
  const char* faultText = nullptr;
  xmlrpc_parse_response2(env, text, size, &result, &faultCode, &faultText);
  if (env->fault_occurred) return;
  if (faultText != nullptr) {
    xmlrpc_env_set_fault(env, faultCode, faultText);
    std::free(const_cast<char*>(faultText));
  } else {
    xmlrpc_DECREF(result);
  }
}

/// One call from the first byte to the last. What goes wrong on the way stands in the environment.
template <class T>
void call(xmlrpc_env* env, const XMLRPC_AsynchMethodCall<T>& request) {
  xmlrpc_client* client = newClient(env);
  if (env->fault_occurred) return;
  xmlrpc_server_info* server = xmlrpc_server_info_new(env, request.url.c_str());
  if (!env->fault_occurred) {
    xmlrpc_mem_block* callText = xmlrpc_mem_block_new(env, 0);
    xmlrpc_value* parameters = xmlrpc_build_value(env, request.format.c_str(), request.argument);
    if (!env->fault_occurred) xmlrpc_serialize_call(env, callText, request.method.c_str(), parameters);
    xmlrpc_mem_block* answer = nullptr;
    if (!env->fault_occurred) xmlrpc_client_transport_call2(env, client, server, callText, &answer);
    if (!env->fault_occurred) {  // or else there is no answer, whatever the pointer says
      readAnswer(env, answer);
      xmlrpc_mem_block_free(answer);
    }
    if (parameters != nullptr) xmlrpc_DECREF(parameters);
    if (callText != nullptr) xmlrpc_mem_block_free(callText);
    xmlrpc_server_info_free(server);
  }
  xmlrpc_client_destroy(client);
}

}  // namespace

template <class T>
XMLRPC_AsynchMethodCall<T>::XMLRPC_AsynchMethodCall(std::string serverUrl, std::string methodName,
                                                    std::string argumentFormat, T argumentValue)
    : Job(nullptr),
      url(std::move(serverUrl)),
      method(std::move(methodName)),
      format(std::move(argumentFormat)),
      argument(argumentValue) {}

template <class T>
void XMLRPC_AsynchMethodCall<T>::run() {
  xmlrpc_env env;
  xmlrpc_env_init(&env);
  call(&env, *this);
  std::string lines;
  if (env.fault_occurred) lines = lineOf("XML-RPC Fault: ", env.fault_string, '(', env.fault_code, ')');
  lines += lineOf("Warning: XMLRPC_VertexCallback:67 need debugging work here");
  writeLines(std::cerr, lines);
  xmlrpc_env_clean(&env);
}

template class XMLRPC_AsynchMethodCall<int>;

}  // namespace quorel
