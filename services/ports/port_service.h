#pragma once

#include "platform/ports/port_frames.h"
#include "services/ports/console_query.h"
#include "services/ports/rights.h"
#include "services/ports/terminal.h"
#include "services/ports/upkeep.h"

#include <chrono>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <poll.h>

namespace zandorin::ports {

/// The service of the serial ports: opens terminals for browsers, whose sockets the web server
/// hands on, and for SSH, and answers what is asked about the ports. docs/terminal.md has its
/// sockets and their frames. One process, which waits for everything at once; whatever a connection
/// does costs at most that connection.
class PortService {
  public:
    /// Makes both sockets below /var/run, in place of those that a dead service left. False when
    /// that failed; errno tells why.
    bool open();
    /// Serves until a signal asks it to end, see stop().
    void run();
    /// For the signal handler.
    static void stop();

  private:
    using Clock = std::chrono::steady_clock;

    struct Connection {
        UniqueFd socket;
        std::optional<uid_t> peer; ///< user id; none on the socket for browsers
        FrameReader reader = {};
        std::string out = "";
        std::unique_ptr<Terminal> terminal = nullptr;
        std::string shown = "";                 ///< state that the other end was told last
        bool isEnding = false;                  ///< closed once everything was sent
        bool asksStates = false;                ///< waits for the states of the ports
        const ConsoleQuery *command = nullptr;  ///< that it waits for
        std::string listsFor = "";              ///< waits for the list of this user's ports
        bool isDone = false;                    ///< whatever that says
        Clock::time_point heard = Clock::now(); ///< when it last took or sent anything
    };

    void accept(const UniqueFd &listener, bool isLocal);
    void receive(Connection &connection);
    void handle(Connection &connection, const Frame &frame);
    void handleFirst(Connection &connection, const Frame &frame);
    void openTerminal(Connection &connection, Grant grant);
    void askConsoles(Connection &connection);
    void command(Connection &connection, const Frame &frame);
    void end(Connection &connection, std::string_view reason, bool again);
    void send(Connection &connection) const;
    void readTerminal(Connection &connection);
    void tellState(Connection &connection);
    void askStates();
    void readStates();
    void answerStates();
    void readCommands();
    void takeRemains();
    void look();

    std::vector<pollfd> waitedFor() const;
    std::vector<const Terminal *> terminals() const;
    std::size_t terminalsOf(const std::string &user) const;

    UniqueFd browsers_;
    UniqueFd locals_;
    Rights rights_;
    Upkeep upkeep_;
    std::list<Connection> connections_;
    ConsoleQuery asking_; ///< "-i"
    std::vector<ConsoleState> consoles_;
    Clock::time_point asked_ = {};
    Clock::time_point looked_ = {};
    std::list<ConsoleQuery> commands_;
    bool isStale_ = true; ///< something has changed since the consoles were asked
};

} // namespace zandorin::ports
