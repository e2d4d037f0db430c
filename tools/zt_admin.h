// The administration commands of zt: "zt user ...", "zt group ..." and "zt db ...".
// They log on to an administration session of the database set (ZT_USER, ZT_PASSWORD,
// ZT_MASTER, as the other commands do); "zt db list" needs only an ordinary logon.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>

class Zt_Admin_Commands {
public:
    // Adds the commands to app.
    explicit Zt_Admin_Commands(CLI::App& app);
    ~Zt_Admin_Commands();
    Zt_Admin_Commands(const Zt_Admin_Commands&) = delete;
    Zt_Admin_Commands& operator=(const Zt_Admin_Commands&) = delete;

    // True when the parsed command line chose one of them.
    [[nodiscard]] bool Chosen() const;
    // Runs the chosen one: the exit status (0 done, 1 refused, 2 usage).
    [[nodiscard]] int Run();

    // The parsed arguments and the subcommands; known only to zt_admin.cpp.
    struct Options;

private:
    std::unique_ptr<Options> My;
};
