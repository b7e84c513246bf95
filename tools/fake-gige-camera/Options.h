#pragma once

#include <string>

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

/// What the command line says.
struct Options {
    std::string serialNumber = "20001";
    std::string address = "127.0.0.1";
    std::string descriptionFile;     ///< GenICam XML; empty: the description built into Aravis
    double frameRate = 25;           ///< frames per second
    unsigned int packetSize = 9000;  ///< bytes of a stream packet, until the host sets another
    double packetLoss = 0;           ///< per cent
    bool exitWithStdin = false;
    bool help = false;
};

/// Throws std::invalid_argument with a text for the user.
Options ParseOptions(int argc, char** argv);

/// The text of --help.
std::string GetHelp();
