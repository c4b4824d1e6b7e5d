#include "postfix/postfix_server.h"

#include <pwd.h>
#include <stdexcept>
#include <unistd.h>

#include "common/postgres_server.h"
#include "postfix/unix_socket.h"

namespace zrtest {
namespace {

constexpr const char* kMaster = "/usr/lib/postfix/sbin/master";
constexpr const char* kSink = "/usr/sbin/smtp-sink";
constexpr const char* kMailOwner = "postfix";

// A client that provokes errors, in one session after another, and is believed whatever it says of itself. The last
// line keeps refusals from being slowed down.
constexpr const char* kPrivateSettings = R"(compatibility_level = 3.6
config_directory = FOLDER/etc
queue_directory = FOLDER/queue
data_directory = FOLDER/data
maillog_file = FOLDER/mail.log
maillog_file_prefixes = FOLDER
myhostname = mail.example.org
mydestination =
inet_interfaces = loopback-only
relay_domains = example.org
local_recipient_maps =
alias_maps =
hash_queue_names = defer
default_transport = lmtp:unix:FOLDER/sink/socket
relay_transport = lmtp:unix:FOLDER/sink/socket
smtpd_authorized_xclient_hosts = static:all
smtpd_client_event_limit_exceptions = static:all
smtpd_error_sleep_time = 0
smtpd_soft_error_limit = 1000000
smtpd_hard_error_limit = 1000000
)";

constexpr const char* kServices = R"(smtp unix n - n - - smtpd
cleanup unix n - n - 0 cleanup
qmgr unix n - n 300 1 qmgr
rewrite unix - - n - - trivial-rewrite
bounce unix - - n - 0 bounce
defer unix - - n - 0 bounce
trace unix - - n - 0 bounce
lmtp unix - - n - 20 lmtp
error unix - - n - - error
retry unix - - n - - error
discard unix - - n - - discard
anvil unix - - n - 1 anvil
postlog unix-dgram n - n - 1 postlogd
)";

// Text of main.cf in which a later line of a name wins, with a warning that nobody reads.
std::string placed(std::string text, const std::string& folder) {
  for (std::size_t at; (at = text.find("FOLDER")) != std::string::npos;)
    text.replace(at, 6, folder);
  return text;
}

}  // namespace

std::string PostfixServer::whyNot() {
  if (access(kMaster, X_OK) != 0 || access(kSink, X_OK) != 0 || getpwnam(kMailOwner) == nullptr) {
    return "Postfix is not installed";
  }
  return geteuid() == 0 ? "" : "Postfix is started by root only";
}

PostfixServer::PostfixServer(const std::string& settings) {
  writeSettings(settings);
  makeFolders();
  m_sink = std::make_unique<ChildProcess>(
      std::vector<std::string>{kSink, "-L", "-u", kMailOwner, "-d", m_folder.file("sink/%M."),
                               "unix:" + m_folder.file("sink/socket"), "500"},
      m_folder.file("sink.log"));
  // What the command "postfix" would hand on, for the file that is logged to.
  m_master = std::make_unique<ChildProcess>(
      std::vector<std::string>{kMaster, "-c", m_folder.file("etc"), "-d"}, m_folder.file("master.log"),
      std::map<std::string, std::string>{{"MAIL_CONFIG", m_folder.file("etc")}, {"POSTLOG_SERVICE", "postlog"}});
  const auto listens = [](const std::string& path) {
    const int descriptor = connectTo(path);
    return descriptor >= 0 && close(descriptor) == 0;
  };
  if (!comesTrue([&] { return listens(smtpSocket()) && listens(m_folder.file("sink/socket")); })) {
    throw std::runtime_error("Postfix does not come up: " + readFile(m_folder.file("master.log")) + log());
  }
}

PostfixServer::~PostfixServer() = default;

void PostfixServer::writeSettings(const std::string& settings) const {
  std::filesystem::create_directory(m_folder.file("etc"));
  m_folder.write("etc/main.cf", placed(kPrivateSettings, m_folder.path().string()) + settings);
  m_folder.write("etc/master.cf", kServices);
}

void PostfixServer::makeFolders() const {
  using std::filesystem::perms;
  // Postfix and the service go into it as users of their own.
  std::filesystem::permissions(m_folder.path(), perms::owner_all | perms::others_exec | perms::group_exec);
  const passwd* owner = getpwnam(kMailOwner);
  for (const char* name : {"queue", "data", "sink"})
    std::filesystem::create_directory(m_folder.file(name));
  for (const char* name : {"data", "sink"}) {
    if (chown(m_folder.file(name).c_str(), owner->pw_uid, owner->pw_gid) != 0) throw std::runtime_error("no chown");
  }
  outputOf("postfix -c '" + m_folder.file("etc") + "' check");
  std::filesystem::create_directory(policyFolder());
}

std::string PostfixServer::restOf(const std::string& queueId) const {
  // In the order in which a mail goes through them: what moves meanwhile is met further on.
  const auto isIn = [&](const char* queue) {
    return std::filesystem::exists(queueFolder() + '/' + queue + '/' + queueId);
  };
  if (!comesTrue([&] { return !isIn("incoming") && !isIn("active"); })) return "active";
  return isIn("deferred") ? "deferred" : isIn("hold") ? "hold" : "gone";
}

std::vector<std::string> PostfixServer::delivered() const {
  std::vector<std::string> messages;
  for (const auto& file : std::filesystem::directory_iterator(m_folder.file("sink"))) {
    if (file.is_regular_file()) messages.push_back(readFile(file.path()));
  }
  return messages;
}

std::vector<std::string> PostfixServer::delivered(const std::string& mark) const {
  std::vector<std::string> messages = delivered();
  std::erase_if(messages, [&](const std::string& message) {
    return message.find("\nX-Mark: " + mark + "\n") == std::string::npos;
  });
  return messages;
}

}  // namespace zrtest
