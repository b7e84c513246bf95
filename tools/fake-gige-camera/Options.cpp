#include "Options.h"

#include <arpa/inet.h>
#include <getopt.h>

#include <cmath>
#include <cstdlib>
#include <stdexcept>

namespace {

const option kOptions[] = {{"serial", required_argument, nullptr, 's'},
                           {"address", required_argument, nullptr, 'a'},
                           {"genicam", required_argument, nullptr, 'g'},
                           {"frame-rate", required_argument, nullptr, 'f'},
                           {"packet-size", required_argument, nullptr, 'p'},
                           {"packet-loss", required_argument, nullptr, 'l'},
                           {"exit-with-stdin", no_argument, nullptr, 'e'},
                           {"help", no_argument, nullptr, 'h'},
                           {nullptr, 0, nullptr, 0}};

constexpr std::size_t kMaxSerialNumber = 15;  // GigE Vision: 16 bytes with the terminating zero

double ParseNumber(const char* name, const std::string& text, double min, double max) {
    char* pEnd = nullptr;
    const double value = std::strtod(text.c_str(), &pEnd);
    if (text.empty() || *pEnd != '\0' || !std::isfinite(value) || value < min || value > max) {
        throw std::invalid_argument(std::string(name) + " is '" + text + "'; it must be a number from " +
                                    std::to_string(static_cast<long>(min)) + " to " +
                                    std::to_string(static_cast<long>(max)));
    }
    return value;
}

std::string ParseAddress(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) {
        throw std::invalid_argument("--address is '" + text +
                                    "'; it must be an IPv4 address such as 127.0.0.1");
    }
    return text;
}

std::string ParseSerialNumber(const std::string& text) {
    if (text.empty() || text.size() > kMaxSerialNumber) {
        throw std::invalid_argument("--serial is '" + text + "'; it must have 1 to 15 characters");
    }
    return text;
}

void Apply(int key, const std::string& value, Options* pOptions) {
    switch (key) {
        case 's':
            pOptions->serialNumber = ParseSerialNumber(value);
            break;
        case 'a':
            pOptions->address = ParseAddress(value);
            break;
        case 'g':
            pOptions->descriptionFile = value;
            break;
        case 'f':
            pOptions->frameRate = ParseNumber("--frame-rate", value, 1, 1000);
            break;
        case 'p':
            pOptions->packetSize = static_cast<unsigned int>(ParseNumber("--packet-size", value, 576, 65000));
            break;
        case 'l':
            pOptions->packetLoss = ParseNumber("--packet-loss", value, 0, 100);
            break;
        case 'e':
            pOptions->exitWithStdin = true;
            break;
        case 'h':
            pOptions->help = true;
            break;
        default:
            throw std::invalid_argument("an option is unknown or lacks its value");
    }
}

}  // namespace

Options ParseOptions(int argc, char** argv) {
    Options options;
    opterr = 0;
    for (int key = 0; (key = getopt_long(argc, argv, "h", kOptions, nullptr)) != -1;) {
        Apply(key, optarg != nullptr ? optarg : "", &options);
    }
    if (optind < argc) {
        throw std::invalid_argument("'" + std::string(argv[optind]) + "' is not an option");
    }
    return options;
}

std::string GetHelp() {
    return
        R"(Usage: fake-gige-camera [options]

Serves a fake GigE Vision camera over UDP until it is ended by SIGTERM or SIGINT. Prints "ready" when it
can be found. Its picture is a diagonal ramp that moves by one each frame: the byte at position b of row y
is (b + y + frame number) modulo 256, where the frame number is the 16-bit one of the protocol. The quadlet
at address 0x5000 of its memory counts the frames that it sent. Requests for addresses beyond its memory are
not answered.

  --serial TEXT        serial number, 1 to 15 characters (default 20001)
  --address IPV4       address of a network interface of this machine (default 127.0.0.1)
  --genicam FILE       GenICam description to serve (default: the one built into Aravis)
  --frame-rate HZ      frames per second, 1 to 1000 (default 25)
  --packet-size BYTES  of a stream packet, 576 to 65000, until the host sets another (default 16000)
  --packet-loss PERC   share of stream packets that are not sent, 0 to 100 per cent (default 0)
  --exit-with-stdin    end as well when standard input is closed
  -h, --help           this text

Exit codes: 0 ended as asked, 1 the address or its port cannot be used, 2 usage.

Example: two cameras on one machine
  ip address add 127.0.0.2/8 dev lo
  fake-gige-camera --serial 1 &
  fake-gige-camera --serial 2 --address 127.0.0.2 &
)";
}
