#include "host/live/LiveServer.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <boost/asio/bind_executor.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <new>
#include <set>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/live/Access.h"
#include "host/live/LiveTexts.h"
#include "host/live/RateLimit.h"
#include "host/live/Requests.h"

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;
using boost::system::error_code;
using namespace std::chrono_literals;
using Time = std::chrono::nanoseconds;

constexpr std::size_t maxHeadBytes = 8192;
constexpr std::size_t maxBodyBytes = 4096;
constexpr std::size_t maxTargetBytes = 1024;
constexpr std::uint16_t usualPorts = 10;  // that are tried
// Small, because what waits in it is old when a slow viewer gets it.
constexpr int sendBufferBytes = 8192;
// Of what comes after a request that was refused: closing before it is read would take the answer back.
constexpr std::size_t maxIgnoredBytes = 262'144;
// What a viewer of the stream has no reason to send.
constexpr std::size_t maxViewerBytes = 64;
constexpr Time ignoringTime = 1s;
constexpr Time acceptAgainAfter = 100ms;  // when there can be no more files

// An address in use is an error on both systems: on Windows only if it is asked for, and on Linux connections
// that were closed a minute ago would count, too.
#ifdef _WIN32
using AddressUse = asio::detail::socket_option::boolean<SOL_SOCKET, SO_EXCLUSIVEADDRUSE>;
#else
using AddressUse = tcp::acceptor::reuse_address;
#endif

constexpr const char* addressAdvice =
    "Use one of its own, for example 192.168.1.20, or 0.0.0.0 for all of them.";

asio::ip::address addressOf(asio::io_context& context, const std::string& text)
{
  if (text.empty()) return asio::ip::address_v4::loopback();
  error_code error;
  auto number = asio::ip::make_address(text, error);
  if (!error) return number;
  tcp::resolver resolver(context);
  const auto found = resolver.resolve(text, "", error);
  if (error || found.empty()) {
    throw Failure(ExitCode::usage, fmt::format("'{}' is no address of this computer.", text), addressAdvice);
  }
  const auto first = std::find_if(found.begin(), found.end(),
                                  [](const auto& entry) { return entry.endpoint().address().is_v4(); });
  return (first == found.end() ? found.begin() : first)->endpoint().address();
}

// Listens, or returns why not.
error_code listen(tcp::acceptor& acceptor, const tcp::endpoint& endpoint)
{
  error_code error;
  acceptor.open(endpoint.protocol(), error);
  if (error) return error;
  acceptor.set_option(AddressUse(true), error);
  // All addresses are those of IPv4, too.
  if (endpoint.address().is_v6()) acceptor.set_option(asio::ip::v6_only(false), error);
  acceptor.bind(endpoint, error);
  if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
  if (error) {
    error_code ignored;
    acceptor.close(ignored);
  }
  return error;
}

[[noreturn]] void fail(const error_code& error, const std::string& address, std::uint16_t port, bool isGiven)
{
  if (error == asio::error::address_in_use) {
    throw Failure(
        ExitCode::output,
        isGiven ? fmt::format("port {} of {} is in use by another program.", port, address)
                : fmt::format("the ports {} to {} of {} are in use by other programs.",
                              ServerOptions::usualPort, ServerOptions::usualPort + usualPorts - 1, address),
        "End that program, or choose another port with `--port`; `--port 0` takes any that is free.");
  }
  if (error == boost::system::errc::address_not_available) {
    throw Failure(ExitCode::usage, fmt::format("{} is no address of this computer.", address), addressAdvice);
  }
  throw Failure(ExitCode::output,
                fmt::format("port {} of {} can't be listened on: {}.", port, address, error.message()),
                "Choose another address or port; those below 1024 are the administrator's.");
}

void listen(tcp::acceptor& acceptor, const asio::ip::address& address, std::optional<std::uint16_t> wanted)
{
  const std::uint16_t first = wanted.value_or(ServerOptions::usualPort);
  error_code error;
  for (unsigned number = 0; number < (wanted ? 1U : usualPorts); ++number) {
    error = listen(acceptor, {address, static_cast<std::uint16_t>(first + number)});
    if (error != asio::error::address_in_use) break;
  }
  if (error) fail(error, address.to_string(), first, wanted.has_value());
}

// Of this computer in its network: that which reaches the rest of the world; nothing is sent to find it.
std::optional<asio::ip::address> networkAddress(asio::io_context& context)
{
  asio::ip::udp::socket socket(context);
  error_code error;
  const asio::ip::udp::endpoint anywhere(asio::ip::make_address_v4("192.0.2.1"), 9);
  socket.connect(anywhere, error);
  const auto endpoint = error ? asio::ip::udp::endpoint() : socket.local_endpoint(error);
  if (error || endpoint.address().is_unspecified()) return std::nullopt;
  return endpoint.address();
}

Time now()
{
  return host::uptime();
}

}  // namespace

// Threads: the constructor and destructor are for the server's owner, while the thread does not run; all else
// runs on it.
struct LiveServer::Service {
  Service(const ServerOptions& options, LiveSource& source, MarkerQueue* markers);
  ~Service();
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  std::string address;

 private:
  class Connection;

  void run();
  void accept();
  void add(tcp::socket socket);
  void schedulePicture();
  void scheduleSweep();
  void finish();
  Time sweepInterval() const;

  const ServerLimits limits_;
  std::optional<LiveTexts> texts_;
  std::optional<Requests> requests_;
  // Those that are open. Each is owned by its operations, and the last ones are destroyed with the context.
  std::set<Connection*> connections_;
  std::size_t viewers_ = 0;
  bool isPictureDue_ = false;
  bool isFinishing_ = false;
  asio::io_context context_{1};
  tcp::acceptor acceptor_{context_};
  asio::steady_timer acceptTimer_{context_};
  asio::steady_timer pictureTimer_{context_};
  asio::steady_timer sweepTimer_{context_};
  asio::steady_timer partingTimer_{context_};
  std::thread thread_;
};

// receives a request > replies > receives the next, or closes
//                              > is a viewer of the stream until either side closes
//                              > refuses the rest of a request: ignores it, then closes
class LiveServer::Service::Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(Service& service, tcp::socket socket)
      : service_(service), socket_(std::move(socket)), rate_(service.limits_.requestsPerSecond)
  {
    service_.connections_.insert(this);
  }

  ~Connection()
  {
    service_.connections_.erase(this);
    if (isViewer_) --service_.viewers_;
    if (service_.isFinishing_ && service_.connections_.empty()) service_.context_.stop();
  }

  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // The first request.
  void start()
  {
    setDeadline(service_.limits_.request);
    receive();
  }

  // A viewer that has received everything up to now.
  bool isReady() const { return isViewer_ && !isWriting_; }

  // Sends a viewer what is new, unless it is still receiving.
  void show()
  {
    if (!isReady()) return;
    events_ = service_.texts_->next(seen_);
    std::array<asio::const_buffer, 4> buffers{asio::buffer(reply_.head)};
    bool hasContent = !reply_.head.empty();
    for (std::size_t i = 0; i < events_.size(); ++i) {
      if (!events_[i]) continue;
      buffers[i + 1] = asio::buffer(*events_[i]);
      hasContent = true;
    }
    if (hasContent) {
      writeEvents(buffers);
    } else if (service_.isFinishing_) {
      close();
    }
  }

  // Ends an idle connection; others end with what they are sending.
  void finish()
  {
    if (isViewer_) return show();
    if (!isWriting_) close();
  }

  // What it has not taken is not sent either, so that nothing of it remains.
  void closeIfLate(Time time)
  {
    if (time <= deadline_) return;
    error_code ignored;
    socket_.set_option(asio::socket_base::linger(true, 0), ignored);
    socket_.close(ignored);
  }

  // What is pending ends with an error, and with it the connection.
  void close()
  {
    error_code ignored;
    socket_.shutdown(tcp::socket::shutdown_both, ignored);
    socket_.close(ignored);
  }

 private:
  void setDeadline(Time timeout) { deadline_ = timeout == Time::max() ? timeout : now() + timeout; }

  // Between requests: the time for the next one begins with its first byte.
  void awaitNext()
  {
    if (service_.isFinishing_) return close();
    if (buffer_.size() > 0) return start();
    setDeadline(service_.limits_.idle);
    socket_.async_wait(tcp::socket::wait_read, [self = shared_from_this()](const error_code& error) {
      if (!error) self->start();
    });
  }

  void receive()
  {
    parser_.emplace();
    parser_->header_limit(maxHeadBytes);
    parser_->body_limit(maxBodyBytes);
    http::async_read(
        socket_, buffer_, *parser_,
        [self = shared_from_this()](const error_code& error, std::size_t) { self->received(error); });
  }

  void received(const error_code& error)
  {
    const Time time = now();
    if (error) return refuse(error);
    if (!rate_.take(time)) return refuse(Malformed::tooMany);
    const auto& message = parser_->get();
    if (message.version() != 11) return refuse(Malformed::version);
    if (message.target().size() > maxTargetBytes) return refuse(Malformed::target);

    Request request;
    request.method = message.method_string();
    request.target = message.target();
    for (const auto& field : message) {
      request.headers.push_back({field.name_string(), field.value()});
    }
    request.body = message.body();
    request.isKeptAlive = message.keep_alive() && !service_.isFinishing_;
    reply_ = service_.requests_->answer(request, time, service_.viewers_);
    if (reply_.isStream) return watch();
    write([](Connection& self) { return self.reply_.isKeptAlive ? self.awaitNext() : self.ignoreRest(); });
  }

  void refuse(const error_code& error)
  {
    if (error == http::error::bad_version) return refuse(Malformed::version);
    if (error == http::error::header_limit || error == http::error::buffer_overflow)
      return refuse(Malformed::headers);
    if (error == http::error::body_limit) return refuse(Malformed::body);
    const bool isClosed = error == http::error::end_of_stream || error == http::error::partial_message;
    if (isClosed || error.category() != http::make_error_code(http::error::bad_method).category()) return;
    refuse(Malformed::request);
  }

  void refuse(Malformed reason)
  {
    reply_ = refusal(reason);
    write([](Connection& self) { self.ignoreRest(); });
  }

  void write(void (*then)(Connection&))
  {
    isWriting_ = true;
    setDeadline(service_.limits_.reply);
    const std::array<asio::const_buffer, 2> buffers{asio::buffer(reply_.head), asio::buffer(reply_.content)};
    asio::async_write(socket_, buffers,
                      [self = shared_from_this(), then](const error_code& error, std::size_t) {
                        self->isWriting_ = false;
                        if (!error) then(*self);
                      });
  }

  void ignoreRest()
  {
    error_code ignored;
    socket_.shutdown(tcp::socket::shutdown_send, ignored);
    setDeadline(ignoringTime);
    buffer_.clear();
    ignoreMore();
  }

  void ignoreMore()
  {
    socket_.async_read_some(asio::buffer(ignored_),
                            [self = shared_from_this()](const error_code& error, std::size_t size) {
                              self->ignoredBytes_ += size;
                              if (!error && self->ignoredBytes_ < maxIgnoredBytes) self->ignoreMore();
                            });
  }

  void watch()
  {
    isViewer_ = true;
    ++service_.viewers_;
    deadline_ = Time::max();
    ignoredBytes_ = buffer_.size();
    // What there is for others may be old while they receive slowly; then newer follows at once.
    if (service_.viewers_ == 1) service_.texts_->makeAll(now());
    show();
    watchForEnd();
  }

  // A viewer that closes its connection; it has nothing else to say.
  void watchForEnd()
  {
    socket_.async_read_some(asio::buffer(ignored_),
                            [self = shared_from_this()](const error_code& error, std::size_t size) {
                              self->ignoredBytes_ += size;
                              if (error || self->ignoredBytes_ > maxViewerBytes) return self->close();
                              self->watchForEnd();
                            });
  }

  void writeEvents(const std::array<asio::const_buffer, 4>& buffers)
  {
    isWriting_ = true;
    setDeadline(service_.limits_.viewer);
    // Whoever takes anything has more time.
    const auto onProgress = [this, taken = std::size_t{0}](const error_code& error,
                                                           std::size_t size) mutable {
      if (size > taken) setDeadline(service_.limits_.viewer);
      taken = size;
      return error ? 0 : std::size_t{65'536};
    };
    asio::async_write(socket_, buffers, onProgress,
                      [self = shared_from_this()](const error_code& error, std::size_t) {
                        self->isWriting_ = false;
                        self->deadline_ = Time::max();
                        self->reply_.head.clear();
                        if (error) return self->close();
                        if (self->service_.isFinishing_) return self->show();
                        self->service_.schedulePicture();
                      });
  }

  Service& service_;
  tcp::socket socket_;
  RateLimit rate_;
  boost::beast::flat_buffer buffer_{maxHeadBytes + maxBodyBytes};
  std::optional<http::request_parser<http::string_body>> parser_;
  Reply reply_;
  LiveTexts::Seen seen_;
  LiveTexts::Events events_;  // that are being sent
  std::array<char, 4096> ignored_{};
  std::size_t ignoredBytes_ = 0;
  Time deadline_ = Time::max();
  bool isViewer_ = false;
  bool isWriting_ = false;
};

LiveServer::Service::Service(const ServerOptions& options, LiveSource& source, MarkerQueue* markers)
    : limits_(options.limits)
{
  const asio::ip::address own = addressOf(context_, options.address);
  listen(acceptor_, own, options.port);

  // As browsers write a number.
  error_code isName;
  asio::ip::make_address(options.address, isName);
  Access::Listening listening{isName ? options.address : own.to_string(), acceptor_.local_endpoint().port(),
                              own.is_unspecified()};
  Access::Tokens tokens{randomToken(), options.address.empty() ? "" : randomToken()};
  std::string shown = listening.address.empty() ? own.to_string() : listening.address;
  if (listening.isAny) {
    shown = networkAddress(context_).value_or(asio::ip::address_v4::loopback()).to_string();
  }
  if (shown.find(':') != std::string::npos) shown = '[' + shown + ']';
  address = fmt::format("http://{}:{}/", shown, listening.port);
  if (!tokens.access.empty()) address += "?token=" + tokens.access;

  texts_.emplace(source, tokens.page);
  requests_.emplace(Access(listening, std::move(tokens)), *texts_, markers,
                    Requests::Limits{limits_.maxViewers, limits_.markersPerSecond});
  accept();
  thread_ = host::threadWithoutSignals([this] { run(); });
}

LiveServer::Service::~Service()
{
  try {
    asio::post(context_, [this] { finish(); });
  } catch (const std::bad_alloc&) {
    context_.stop();
  }
  thread_.join();
}

void LiveServer::Service::run()
{
  host::lowerThreadPriority();
  for (;;) {
    try {
      context_.run();
      break;
    } catch (const std::exception&) {
      // Without memory a connection ended in the middle of what it did, and has closed itself; all others
      // stay.
    }
  }
}

void LiveServer::Service::accept()
{
  acceptor_.async_accept([this](const error_code& error, tcp::socket socket) {
    if (isFinishing_) return;
    if (error && error != asio::error::connection_aborted) {
      acceptTimer_.expires_after(acceptAgainAfter);
      acceptTimer_.async_wait([this](const error_code& isOver) {
        if (!isOver) accept();
      });
      return;
    }
    accept();
    if (!error) add(std::move(socket));
  });
}

void LiveServer::Service::add(tcp::socket socket)
{
  if (connections_.size() >= limits_.maxConnections) return;
  error_code ignored;
  socket.set_option(tcp::no_delay(true), ignored);
  socket.set_option(asio::socket_base::send_buffer_size(sendBufferBytes), ignored);
  if (connections_.empty()) scheduleSweep();
  std::make_shared<Connection>(*this, std::move(socket))->start();
}

// For whoever is ready to receive one: while nobody is, none is made.
void LiveServer::Service::schedulePicture()
{
  if (std::exchange(isPictureDue_, true)) return;
  constexpr auto interval = Time(1s) / LiveSource::picturesPerSecond;
  // On a grid, unless it is late by more than a picture.
  const auto due = std::max(pictureTimer_.expiry() + interval, asio::steady_timer::clock_type::now());
  pictureTimer_.expires_at(due);
  pictureTimer_.async_wait([this](const error_code& error) {
    if (error || isFinishing_) return;
    isPictureDue_ = false;
    if (std::ranges::none_of(connections_, &Connection::isReady)) return;
    schedulePicture();
    texts_->tick(now());
    for (Connection* const connection : connections_) {
      connection->show();
    }
  });
}

Time LiveServer::Service::sweepInterval() const
{
  const auto shortest = std::min({limits_.request, limits_.reply, limits_.idle, limits_.viewer});
  return std::clamp<Time>(shortest / 8, 5ms, 500ms);
}

void LiveServer::Service::scheduleSweep()
{
  sweepTimer_.expires_after(sweepInterval());
  sweepTimer_.async_wait([this](const error_code& error) {
    if (error || connections_.empty()) return;
    scheduleSweep();
    const Time time = now();
    for (Connection* const connection : connections_) {
      connection->closeIfLate(time);
    }
  });
}

void LiveServer::Service::finish()
{
  isFinishing_ = true;
  error_code ignored;
  acceptor_.close(ignored);
  if (connections_.empty()) return context_.stop();
  // Stops on its own when the last connection has ended.
  partingTimer_.expires_after(limits_.parting);
  partingTimer_.async_wait([this](const error_code&) { context_.stop(); });
  texts_->makeAll(now());
  for (Connection* const connection : connections_) {
    connection->finish();
  }
}

LiveServer::LiveServer(const ServerOptions& options, LiveSource& source, MarkerQueue* markers)
    : service_(std::make_unique<Service>(options, source, markers)), address_(service_->address)
{
}

LiveServer::~LiveServer() = default;
