#include "cli/admin_client.h"

#include <charconv>
#include <cstring>
#include <httplib.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"

namespace zrcli {

namespace {

using zrhost::ErrorKind;
using zrhost::HostError;

constexpr std::string_view kUnix = "unix:", kInet = "inet:";
constexpr int kSeconds = 10;

// The library's client, on a Unix socket.
class UnixClient : public httplib::ClientImpl {
 public:
  explicit UnixClient(std::string path) : ClientImpl("localhost"), m_path(std::move(path)) {}

 protected:
  bool create_and_connect_socket(Socket& socket, httplib::Error& error) override {
    error = httplib::Error::Connection;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (m_path.size() >= sizeof address.sun_path) {
      errno = ENAMETOOLONG;
      return false;
    }
    std::memcpy(address.sun_path, m_path.data(), m_path.size());
    const int made = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (made < 0) return false;
    const timeval limit{kSeconds, 0};  // a service that stands still takes no connection once enough wait
    setsockopt(made, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    if (connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      const int why = errno;
      close(made);
      errno = why;
      return false;
    }
    socket.sock = made;
    error = httplib::Error::Success;
    return true;
  }

 private:
  std::string m_path;
};

[[noreturn]] void refuseAddress(const std::string& text) {
  throw HostError(ErrorKind::kUsage, "the address of a service \"" + zrhost::shortened(text) +
                                         "\" is neither unix:PATH nor inet:ADDRESS:PORT");
}

std::unique_ptr<httplib::ClientImpl> clientFor(const std::string& text) {
  const std::string_view address = text;
  std::unique_ptr<httplib::ClientImpl> client;
  if (address.starts_with(kUnix) && address.size() > kUnix.size()) {
    client = std::make_unique<UnixClient>(text.substr(kUnix.size()));
  } else {
    const std::size_t colon = address.rfind(':');
    if (!address.starts_with(kInet) || colon <= kInet.size()) refuseAddress(text);
    std::string host = text.substr(kInet.size(), colon - kInet.size());
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    int port = 0;
    const auto [end, error] = std::from_chars(text.data() + colon + 1, text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port < 1 || port > 65535) refuseAddress(text);
    client = std::make_unique<httplib::ClientImpl>(host, port);
  }
  client->set_connection_timeout(kSeconds);
  client->set_read_timeout(kSeconds);
  client->set_write_timeout(kSeconds);
  return client;
}

std::string reasonOf(httplib::Error error, int why) {
  const bool isSilent = error == httplib::Error::ConnectionTimeout || error == httplib::Error::Read ||
                        (error == httplib::Error::Connection && why == EAGAIN);
  if (isSilent) return "it said nothing for " + std::to_string(kSeconds) + " s";
  if (error == httplib::Error::Connection && why == EINPROGRESS) return "nobody takes the connection";
  return error == httplib::Error::Connection && why != 0 ? std::strerror(why) : httplib::to_string(error);
}

AdminReply replyOf(const httplib::Result& result, const std::string& address, int why) {
  if (result) return {result->status, result->body};
  const std::string where = zrhost::terminalText(address), reason = reasonOf(result.error(), why);
  if (result.error() == httplib::Error::Connection && why == EACCES)
    throw HostError(ErrorKind::kUnreachable, "cannot ask the service at " + where + ": " + reason +
                                                 "; see socket_mode and socket_group in zrpolicy.conf(5)");
  throw HostError(ErrorKind::kUnreachable,
                  "no service answers at " + where + ": " + reason + "; is zrpolicyd running?");
}

}  // namespace

void addAdminOptions(CLI::App& command, CommandContext& context, std::string& address) {
  command
      .add_option("--admin", address,
                  "Where the service is administered: unix:PATH or inet:ADDRESS:PORT. Default: the first one of the "
                  "setting listen in [admin].")
      ->type_name("ADDRESS")
      ->group("Service");
  command
      .add_option("--config", context.settings.configFile,
                  "The configuration file of the service. Default: the file that ZRPOLICY_CONFIG names, else "
                  "/etc/zrpolicy/zrpolicy.conf when it is there.")
      ->type_name("FILE")
      ->group("Service");
}

AdminClient::AdminClient(const CommandContext& context, const std::string& address) : m_address(address) {
  if (!m_address.empty()) return;
  const zrhost::TextList listen = zrhost::Settings(context.settings).options().admin.listen;
  if (listen.empty()) throw HostError(ErrorKind::kUsage, "[admin] listen is empty; name the service with --admin");
  m_address = listen.front();
}

AdminReply AdminClient::get(const std::string& path) const {
  errno = 0;
  const httplib::Result result = clientFor(m_address)->Get(path);
  return replyOf(result, m_address, errno);
}

AdminReply AdminClient::post(const std::string& path, const std::string& body) const {
  errno = 0;
  const httplib::Result result = clientFor(m_address)->Post(path, body, "application/json");
  return replyOf(result, m_address, errno);
}

std::string errorOf(const AdminReply& reply) {
  const auto document = nlohmann::json::parse(reply.body, nullptr, false);
  for (const char* const name : {"error", "reason"})
    if (document.is_object() && document.contains(name) && document[name].is_string())
      return document[name].get<std::string>();
  return "the service answers " + std::to_string(reply.status) + " " + reply.body;
}

}  // namespace zrcli
