#include <kwxml/nats/Connection.h>

#include <kwxml/diagnostics/Log.h>
#include <kwxml/nats/NatsInternal.h>
#include <kwxml/nats/Wire.h>
#include <kwxml/platform/KWPlatformInfo.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <optional>
#include <set>

namespace kwxml::nats {

namespace {

constexpr const char* section = "Nats";

/// Without what stands before the host: that may be a password.
std::string withoutUser(const std::string& url)
{
  const std::size_t at = url.rfind('@');
  const std::size_t scheme = url.find("://");
  const std::size_t host = at != std::string::npos ? at + 1 : scheme != std::string::npos ? scheme + 3 : 0;
  return url.substr(host);
}

std::string listed(const std::vector<std::string>& servers)
{
  std::string text;
  for (const std::string& server : servers) {
    text += (text.empty() ? "" : ", ") + withoutUser(server);
  }
  return text;
}

std::vector<std::string> split(std::string_view text)
{
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::size_t comma = std::min(text.find(','), text.size());
    std::string_view part = text.substr(0, comma);
    text.remove_prefix(std::min(comma + 1, text.size()));
    const std::size_t begin = part.find_first_not_of(" \t");
    if (begin != std::string_view::npos) {
      part = part.substr(begin, part.find_last_not_of(" \t") - begin + 1);
      parts.emplace_back(part);
    }
  }
  return parts;
}

/// A number of the section; nullopt where there is none. Throws Error for another one than it `takes`.
std::optional<long long> numberOf(const KWPlatformInfo& platform, const char* key, long long least,
                                  long long most, const char* takes)
{
  std::string text;
  if (platform.getString(section, key, text) == 0) {
    return std::nullopt;
  }
  long long number = 0;
  if (platform.getNumber(section, key, number) == 0 || number < least || number > most) {
    throw Error(
        "ConnectionSettings::fromPlatform",
        std::string("setting ") + key + " of section [Nats] is \"" + shown(text) + "\"; it takes " + takes);
  }
  return number;
}

void readTime(const KWPlatformInfo& platform, const char* key, std::chrono::milliseconds& time)
{
  constexpr long long day = 24LL * 60 * 60 * 1000;
  if (const auto number = numberOf(platform, key, 1, day, "milliseconds, from 1 to a day")) {
    time = std::chrono::milliseconds(*number);
  }
}

void onDisconnected(natsConnection*, void* closure)
{
  try {
    if (const auto state = CallbackKey<Connection::State>::find(closure)) {
      log().logError("Nats", "the connection to %s is lost; it is made again", state->lastServer().c_str());
    }
  } catch (...) {  // no memory for a line: nothing may leave through the client
  }
}

std::string connectedServer(natsConnection* connection)
{
  char url[256] = {};
  return natsConnection_GetConnectedUrl(connection, url, sizeof url) == NATS_OK ? withoutUser(url)
                                                                                : std::string();
}

void onReconnected(natsConnection* connection, void* closure)
{
  try {
    if (const auto state = CallbackKey<Connection::State>::find(closure)) {
      if (const std::string server = connectedServer(connection); !server.empty()) {
        const std::lock_guard lock(state->mutex);
        state->server = server;
      }
      log().logError("Nats", "connected again, to %s", state->lastServer().c_str());
    }
  } catch (...) {  // no memory for a line: nothing may leave through the client
  }
}

void onClosed(natsConnection* connection, void* closure)
{
  try {
    if (const auto state = CallbackKey<Connection::State>::find(closure)) {
      const char* words = nullptr;
      const natsStatus status = natsConnection_GetLastError(connection, &words);
      const std::string why =
          std::string(natsStatus_GetText(status)) +
          (words != nullptr && *words != '\0' ? std::string(" (") + words + ")" : std::string());
      {
        const std::lock_guard lock(state->mutex);
        state->ended = why;
      }
      log().logError("Nats", "the connection to %s has ended: %s", state->lastServer().c_str(), why.c_str());
    }
  } catch (...) {  // no memory for a line: nothing may leave through the client
  }
}

/// Doubles from attempt to attempt, with up to a tenth more, so that clients do not come all at once.
std::int64_t onDelay(natsConnection*, int attempts, void* closure)
{
  const auto state = CallbackKey<Connection::State>::find(closure);
  if (state == nullptr) {
    return 1000;
  }
  const std::int64_t most = state->settings.reconnectMost.count();
  std::int64_t wait = state->settings.reconnectFirst.count();
  for (int i = 1; i < attempts && wait < most; ++i) {
    wait *= 2;
  }
  wait = std::min(wait, most);
  return wait + static_cast<std::int64_t>(std::hash<const void*>{}(state.get()) % 64) * wait / 640;
}

}  // namespace

Error::~Error() = default;

ConnectionSettings ConnectionSettings::fromPlatform()
{
  constexpr const char* function = "ConnectionSettings::fromPlatform";
  const KWPlatformInfo platform;
  if (!platform.isReadable()) {  // the defaults would be another server, open to all
    throw Error(function, "the settings file cannot be read; the line before says why");
  }
  ConnectionSettings settings;
  std::string servers;
  if (platform.getString(section, "Servers", servers) != 0) {
    settings.servers = split(servers);
  }
  const std::array<std::pair<const char*, std::string*>, 7> texts{
      {{"User", &settings.user},
       {"Password", &settings.password},
       {"CredentialsFile", &settings.credentialsFile},
       {"CAFile", &settings.caFile},
       {"CertificateFile", &settings.certificateFile},
       {"KeyFile", &settings.keyFile},
       {"HostName", &settings.hostName}}};
  // A key that is misspelt would leave a connection open to all, perhaps.
  std::set<std::string> unknown = platform.keys(section);
  for (const char* const key : {"Servers", "TLS", "Timeout", "ReconnectFirst", "ReconnectMost"}) {
    unknown.erase(key);
  }
  for (const auto& [key, text] : texts) {
    static_cast<void>(platform.getString(section, key, *text));
    unknown.erase(key);
  }
  if (!unknown.empty()) {
    throw Error(function, "section [Nats] of the settings has no setting " + shown(*unknown.begin()));
  }
  if (const auto tls = numberOf(platform, "TLS", 0, 1, "0 or 1")) {
    settings.tls = *tls != 0;
  }
  for (const std::string& server : settings.servers) {
    if (server.find('@') != std::string::npos) {  // one place for secrets, which is looked after
      throw Error(
          function,
          "setting Servers of section [Nats] names a user; User and Password are settings of their own");
    }
  }
  if (!settings.user.empty() && !settings.credentialsFile.empty()) {
    throw Error(function,
                "section [Nats] of the settings has a User and a CredentialsFile; one of them says who");
  }
  if (settings.user.empty() && !settings.password.empty()) {
    throw Error(function, "section [Nats] of the settings has a Password without a User");
  }
  readTime(platform, "Timeout", settings.timeout);
  readTime(platform, "ReconnectFirst", settings.reconnectFirst);
  readTime(platform, "ReconnectMost", settings.reconnectMost);
  if (!platform.isTrusted() &&
      (!settings.password.empty() || !settings.credentialsFile.empty() || !settings.keyFile.empty())) {
    throw Error(function, "the settings file names a password or credentials, and other users may write it");
  }
  return settings;
}

std::string Connection::State::lastServer() const
{
  const std::lock_guard lock(mutex);
  return server;
}

std::uint64_t Connection::State::reconnections() const
{
  constexpr const char* what = "cannot ask for the connection's counts";
  natsStatistics* made = nullptr;
  check(natsStatistics_Create(&made), "Connection", what);
  const std::unique_ptr<natsStatistics, Destroyer<natsStatistics_Destroy>> counts(made);
  check(natsConnection_GetStats(connection.get(), made), "Connection", what);
  std::uint64_t number = 0;
  check(natsStatistics_GetCounts(made, nullptr, nullptr, nullptr, nullptr, &number), "Connection", what);
  return number;
}

Connection::State::~State()
{
  context.reset();
  if (connection != nullptr) {
    natsConnection_Close(connection.get());
  }
}

Connection::Connection(const ConnectionSettings& settings) : state_(std::make_shared<State>())
{
  constexpr const char* function = "Connection::Connection";
  const std::string what = "cannot connect to " + listed(settings.servers);
  if (settings.servers.empty()) {
    throw Error(function, "no server is named");
  }
  state_->settings = settings;
  state_->server = listed(settings.servers);
  natsOptions* made = nullptr;
  check(natsOptions_Create(&made), function, what);
  const OptionsOwner options(made);
  std::vector<const char*> servers;
  for (const std::string& server : settings.servers) {
    servers.push_back(server.c_str());
  }
  const auto set = [&](natsStatus status, const char* setting) {
    check(status, function, what + ": setting " + setting);
  };
  set(natsOptions_SetServers(made, servers.data(), static_cast<int>(servers.size())), "Servers");
  set(natsOptions_SetName(made, settings.name.c_str()), "the name");
  set(natsOptions_SetTimeout(made, settings.timeout.count()), "Timeout");
  if (!settings.user.empty()) {
    set(natsOptions_SetUserInfo(made, settings.user.c_str(), settings.password.c_str()), "User");
  }
  if (!settings.credentialsFile.empty()) {
    set(natsOptions_SetUserCredentialsFromFiles(made, settings.credentialsFile.c_str(), nullptr),
        "CredentialsFile");
  }
  // What is said of certificates would mean nothing on a connection that anybody can read.
  if (settings.tls || !settings.caFile.empty() || !settings.certificateFile.empty() ||
      !settings.keyFile.empty() || !settings.hostName.empty()) {
    set(natsOptions_SetSecure(made, true), "TLS");
  }
  if (!settings.caFile.empty()) {
    set(natsOptions_LoadCATrustedCertificates(made, settings.caFile.c_str()), "CAFile");
  }
  if (!settings.certificateFile.empty() || !settings.keyFile.empty()) {
    set(natsOptions_LoadCertificatesChain(made, settings.certificateFile.c_str(), settings.keyFile.c_str()),
        "CertificateFile and KeyFile");
  }
  if (!settings.hostName.empty()) {
    set(natsOptions_SetExpectedHostname(made, settings.hostName.c_str()), "HostName");
  }
  // A server that has no power or no network any more closes nothing: it is left when it answers no ping
  // three times, and a write that it does not take is given up.
  set(natsOptions_SetPingInterval(made, settings.timeout.count()), "Timeout");
  set(natsOptions_SetMaxPingsOut(made, 2), "Timeout");
  set(natsOptions_SetWriteDeadline(made, settings.timeout.count()), "Timeout");
  void* const key = state_->key.lead(state_);
  set(natsOptions_SetMaxReconnect(made, -1), "the attempts");
  set(natsOptions_SetCustomReconnectDelay(made, onDelay, key), "the waits");
  set(natsOptions_SetDisconnectedCB(made, onDisconnected, key), "a callback");
  set(natsOptions_SetReconnectedCB(made, onReconnected, key), "a callback");
  set(natsOptions_SetClosedCB(made, onClosed, key), "a callback");
  natsConnection* connection = nullptr;
  check(natsConnection_Connect(&connection, made), function, what);
  state_->connection.reset(connection);
  {
    const std::lock_guard lock(state_->mutex);
    state_->server = connectedServer(connection);
  }
  jsOptions defaults;
  check(jsOptions_Init(&defaults), function, what);
  defaults.Wait = settings.timeout.count();
  jsCtx* context = nullptr;
  check(natsConnection_JetStream(&context, connection, &defaults), function, what);
  state_->context.reset(context);
}

Connection::~Connection() = default;

bool Connection::isConnected() const
{
  return natsConnection_Status(state_->connection.get()) == NATS_CONN_STATUS_CONNECTED;
}

bool Connection::isClosed() const
{
  return natsConnection_IsClosed(state_->connection.get());
}

std::string Connection::server() const
{
  return state_->lastServer();
}

std::size_t Connection::maxPayload() const
{
  return static_cast<std::size_t>(
      std::max<std::int64_t>(natsConnection_GetMaxPayload(state_->connection.get()), 0));
}

bool Connection::makeStream(const StreamSettings& settings)
{
  constexpr const char* function = "Connection::makeStream";
  checkName("a stream", settings.name);
  checkPrefix(settings.prefix);
  const std::string what = "cannot make the stream " + settings.name;
  const std::string subjects = settings.prefix + ".>";
  const char* const subject = subjects.c_str();
  jsErrCode code{};
  jsStreamInfo* info = nullptr;
  natsStatus status = persistently(*state_, code, [&] {
    return js_GetStreamInfo(&info, state_->context.get(), settings.name.c_str(), nullptr, &code);
  });
  if (status == NATS_OK) {
    const StreamInfoOwner owner(info);
    for (int i = 0; i < info->Config->SubjectsLen; ++i) {
      const std::string_view has = info->Config->Subjects[i];
      if (has == subjects || has == ">") {
        return false;
      }
    }
    throw Error(function, what + ": there is one that does not take the subjects " + subjects);
  }
  if (status != NATS_NOT_FOUND && code != JSStreamNotFoundErr) {
    check(status, function, what);
  }
  jsStreamConfig config;
  check(jsStreamConfig_Init(&config), function, what);
  config.Name = settings.name.c_str();
  const char* all[] = {subject};
  config.Subjects = all;
  config.SubjectsLen = 1;
  config.Replicas = settings.replicas;
  config.Duplicates = std::chrono::nanoseconds(settings.duplicateWindow).count();
  status = persistently(*state_, code,
                        [&] { return js_AddStream(&info, state_->context.get(), &config, nullptr, &code); });
  const StreamInfoOwner owner(status == NATS_OK ? info : nullptr);
  check(status, function, what);
  return true;
}

}  // namespace kwxml::nats
