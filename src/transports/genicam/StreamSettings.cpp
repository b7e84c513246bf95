#include "StreamSettings.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <optional>
#include <system_error>

#include "DeviceFacts.h"
#include "Failure.h"
#include "GenicamDevice.h"
#include "GigePackets.h"

namespace Zevrin {

namespace {

constexpr std::size_t kImagesInSocket = 2;
constexpr std::size_t kMinSocketBuffer = 1 << 20;
constexpr auto kMaxSocketBuffer = static_cast<std::size_t>(std::numeric_limits<gint>::max());

constexpr char kPacketDelay[] = "GevSCPD";
constexpr guint64 kNanosecondsPerSecond = 1000000000ULL;

Error SetPacketSize(GenicamDevice& device, unsigned int packetSize) {
    if (packetSize != 0 && (packetSize < GigePacket::kMinSize || packetSize > GigePacket::kMaxSize ||
                            packetSize % GigePacket::kSizeStep != 0)) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The packet size is %u; it must be a multiple of %u from %u to %u, or 0: negotiated.",
                       packetSize, GigePacket::kSizeStep, GigePacket::kMinSize, GigePacket::kMaxSize);
    }
    return device.Request(
        ERR_TRANSPORT_FAILED, "Setting the packet size", [packetSize](ArvDevice* pDevice, GError** ppReport) {
            ArvGvDevice* const pGigeDevice = ARV_GV_DEVICE(pDevice);
            // Aravis would try again when the stream is created.
            arv_gv_device_set_packet_size_adjustment(pGigeDevice, ARV_GV_PACKET_SIZE_ADJUSTMENT_NEVER);
            if (packetSize != 0) {
                arv_gv_device_set_packet_size(pGigeDevice, static_cast<gint>(packetSize), ppReport);
            } else {
                // A device that sends no test packets keeps its own size.
                arv_gv_device_auto_packet_size(pGigeDevice, ppReport);
            }
        });
}

/// The device counts the delay in ticks of its clock.
Error SetPacketDelay(GenicamDevice& device, unsigned int nanoseconds) {
    if (nanoseconds == 0) {
        const std::optional<long long> own = device.GetOwnPacketDelay();
        return own ? device.SetInteger(kPacketDelay, *own) : Error();
    }
    unsigned long long frequency = 0;
    Error error = ReadTickFrequency(device, &frequency);
    if (error != ERR_OK) {
        return error;
    }
    if (frequency == 0 || frequency > std::numeric_limits<guint64>::max() / nanoseconds) {
        return Failure(ERR_NOT_SUPPORTED, "The camera has no clock that could count a packet delay.");
    }
    long long own = 0;
    if (!device.GetOwnPacketDelay() && device.GetInteger(kPacketDelay, &own) == ERR_OK) {
        device.SetOwnPacketDelay(own);
    }
    return device.SetInteger(kPacketDelay,
                             static_cast<long long>(nanoseconds * frequency / kNanosecondsPerSecond));
}

/// Aravis would take a packet socket where the process may: a ring that a reader who is late by a tenth of a
/// second loses packets of, that knows no size, and in which each stream sees the packets of all.
Error UsePlainSocket(GenicamDevice& device) {
    return device.Access(ERR_TRANSPORT_FAILED, "Choosing the socket", [](ArvDevice* pDevice, GError**) {
        arv_gv_device_set_stream_options(ARV_GV_DEVICE(pDevice), ARV_GV_STREAM_OPTION_PACKET_SOCKET_DISABLED);
    });
}

/// Whether it is the UDP socket of this address and port.
bool IsSocketOf(int handle, const sockaddr_in& address) {
    sockaddr_in own{};
    socklen_t size = sizeof own;
    int type = 0;
    socklen_t typeSize = sizeof type;
    return getsockname(handle, reinterpret_cast<sockaddr*>(&own), &size) == 0 && own.sin_family == AF_INET &&
           own.sin_port == address.sin_port && own.sin_addr.s_addr == address.sin_addr.s_addr &&
           getsockopt(handle, SOL_SOCKET, SO_TYPE, &type, &typeSize) == 0 && type == SOCK_DGRAM;
}

/// Aravis would set the size only when it looks at the first packet. Until then the system's own size holds,
/// and on a busy machine the rest of the first image overflows it. Aravis hands out its socket's port, not
/// the socket, which is therefore looked for among the process' own; where it is not found, Aravis is left to
/// it.
void SetSocketBuffer(ArvDevice* pDevice, ArvStream* pStream, int size) {
    sockaddr_in address{};
    if (!g_socket_address_to_native(arv_gv_device_get_interface_address(ARV_GV_DEVICE(pDevice)), &address,
                                    sizeof address, nullptr)) {
        return;
    }
    address.sin_port = htons(arv_gv_stream_get_port(ARV_GV_STREAM(pStream)));
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc/self/fd", error), end; !error && entry != end;
         entry.increment(error)) {
        const int handle = std::atoi(entry->path().filename().c_str());
        if (IsSocketOf(handle, address)) {
            setsockopt(handle, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
            return;
        }
    }
}

}  // namespace

Error ApplyPacketSettings(GenicamDevice& device, const ZevrinConfig& config) {
    if (!device.IsGigE()) {
        return Error();
    }
    Error error = UsePlainSocket(device);
    if (error != ERR_OK) {
        return error;
    }
    if (config.packetSize != 0 || !device.IsPacketSizeNegotiated()) {
        error = SetPacketSize(device, config.packetSize);
        device.SetPacketSizeNegotiated(error == ERR_OK && config.packetSize == 0);
    }
    if (error == ERR_OK) {
        error = SetPacketDelay(device, config.packetDelay);
    }
    return error;
}

void ApplyStreamSettings(ArvDevice* pDevice, ArvStream* pStream, const ZevrinConfig& config,
                         std::size_t payloadSize) {
    if (!ARV_IS_GV_STREAM(pStream)) {
        return;
    }
    // The system's own size holds less than many an image. It counts what packets take in its memory, which
    // is more than they carry, and cuts down what is too much.
    const std::size_t wanted = config.socketBufferSize != 0
                                   ? config.socketBufferSize
                                   : std::max(kImagesInSocket * payloadSize, kMinSocketBuffer);
    const auto size = static_cast<gint>(std::min(wanted, kMaxSocketBuffer));
    g_object_set(pStream, "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size", size,
                 nullptr);
    SetSocketBuffer(pDevice, pStream, size);
    if (config.packetResend != 0) {
        g_object_set(pStream, "packet-resend", ARV_GV_STREAM_PACKET_RESEND_NEVER, nullptr);
    }
}

}  // namespace Zevrin
