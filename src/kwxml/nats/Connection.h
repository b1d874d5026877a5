// The connection to servers of NATS, over which publishers and consumers work, and the streams behind it.
//
// The servers keep messages in streams (JetStream). Nothing here is a broker or a protocol of its own: the
// servers' client library does the work, and where it has no call the servers' documented interface.
#pragma once

#include <kwxml/platform/Export.h>
#include <kwxml/platform/KwException.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Messages over NATS JetStream.
namespace kwxml::nats {

/// What could not be done with the servers, in words: what was tried, and what the client or the server said.
class KWXML_API Error : public KwException
{
public:
  using KwException::KwException;
  ~Error() override;
};

/// How servers are reached, and as whom.
struct KWXML_API ConnectionSettings
{
  /// Servers of one cluster, such as "nats://127.0.0.1:4222". Others of the cluster are learned from them.
  std::vector<std::string> servers{"nats://127.0.0.1:4222"};
  std::string user{};      ///< empty: none
  std::string password{};  ///< of the user
  /// A file with a user's token and key, as the servers' tools make it; empty: none.
  std::string credentialsFile{};
  bool tls = false;               ///< whether the connection must be encrypted
  std::string caFile{};           ///< certificates of those who may sign the server's; empty: the system's
  std::string certificateFile{};  ///< the client's own certificate; empty: none
  std::string keyFile{};          ///< the key of that certificate
  std::string hostName{};         ///< what the server's certificate must name; empty: the name of the server
  std::string name{"kwxml"};      ///< what the server shows of the connection
  /// How long connecting, and each question to the server, may take.
  std::chrono::milliseconds timeout{5000};
  /// How long to wait before the first attempt to come back; the wait doubles with each attempt, up to
  /// `reconnectMost`. Attempts go on for ever.
  std::chrono::milliseconds reconnectFirst{100};
  /// See `reconnectFirst`.
  std::chrono::milliseconds reconnectMost{5000};

  /// The settings of section [Nats] of the platform's settings file: Servers (with commas between), User,
  /// Password, CredentialsFile, TLS (0 or 1), CAFile, CertificateFile, KeyFile, HostName, Timeout,
  /// ReconnectFirst and ReconnectMost (milliseconds). What is missing has the value above. Throws Error for a
  /// number out of its range, for another key, and for a password in a file that other users may write.
  static ConnectionSettings fromPlatform();
};

/// A stream that is made for messages.
struct StreamSettings
{
  std::string name{};           ///< letters, digits, "-" and "_"
  std::string prefix{"kwxml"};  ///< the stream takes all subjects below it
  int replicas = 1;             ///< how many servers of a cluster keep the stream: 1 to 5
  /// How long the stream knows the identifier of a message. A message that comes again later is stored again.
  std::chrono::seconds duplicateWindow{120};
};

/// A connection. Publishers and consumers refer to it, and it outlives them. All members may be called from
/// any thread. A connection that is lost is made again, with growing waits, for as long as the object lives;
/// each loss and return is logged. It ends of itself only when the servers refuse the credentials.
class KWXML_API Connection
{
public:
  /// Connects. Throws Error when no server can be reached, or none takes the credentials.
  explicit Connection(const ConnectionSettings& settings = ConnectionSettings::fromPlatform());
  /// Ends the connection.
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Whether a server is connected right now.
  bool isConnected() const;
  /// Whether the connection has ended for good.
  bool isClosed() const;
  /// Host and port of the server, for people; of the last one while there is none.
  std::string server() const;
  /// How many bytes a message may have with its headers: the server's limit; 0 while none is known.
  std::size_t maxPayload() const;

  /// Makes a stream. False when there is one of that name, which must take the subjects of the prefix; its
  /// other properties stay as they are. Throws Error.
  bool makeStream(const StreamSettings& settings);

  struct State;
  /// For this library itself.
  State& state() const { return *state_; }

private:
  std::shared_ptr<State> state_;
};

}  // namespace kwxml::nats
