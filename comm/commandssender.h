// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <mutex>
#include <string>
#include <vector>

class ComPort;

namespace comm {

// Channels 0 to count - 1, for CommandsSender::sendLoggerStart.
std::vector<unsigned int> firstChannels(unsigned int count);

} // namespace comm

// Builds and sends the commands of the controller, one operation for each. Nothing is checked,
// awaited or paired with an answer; on a closed port the command is lost with a diagnostic line.
// Operations may be called from any thread. Strings go out as raw bytes.
class CommandsSender : public QObject
{
    Q_OBJECT

public:
    enum class MapAxis { X = 0, Y = 1 };

    explicit CommandsSender(ComPort& port) // must outlive the sender
        : comPort(port)
    {}

    void sendResetToBootloader();
    void sendRsaPublicKey(const std::string& key);
    void sendAesKey(const std::string& key);
    void sendKeyExchange(const std::string& data);
    void sendCommand(std::string data);
    void sendPing(unsigned int value);
    void sendModuleKeyPublicKeyRequest();
    void sendReset();
    void sendGetIds();
    void sendGetFirmwareId();
    void sendLoggerStart(std::vector<unsigned int>& channels, bool passive);
    void sendLoggerDataRequest();
    void sendLoggerStop();
    void sendVirtualInputValue(int index, int value);
    void sendPidTunerStartReq();
    void sendPidTunerSetPidReq(
        unsigned int pidId, int param1, int param2, int param3, int param4, int param5);
    void sendPidTunerGetPidReq(unsigned int pidId);
    void sendPidTunerResetReq(unsigned int pidId);
    void sendMapTunerStartReq();
    void sendMapTunerGetMapDetails(unsigned int mapId);
    void sendMapTunerSetMapLabel(unsigned int mapId, MapAxis axis, unsigned int labelId, int value);
    void sendMapTunerGetMapLabel(unsigned int mapId, MapAxis axis, unsigned int labelId);
    void sendMapTunerSetMapValue(unsigned int mapId, unsigned int xId, unsigned int yId, int value);
    void sendMapTunerGetMapValue(unsigned int mapId, unsigned int xId, unsigned int yId);
    void sendMapTunerGetMap(unsigned int mapId);
    void sendMapTunerGetLastGetValue(unsigned int mapId);
    void sendConfigWriteReq(unsigned int configId, std::string data);
    void sendConfigReadReq(unsigned int configId);
    void sendConfigEraseReq(unsigned int configId);
    void sendCalibrationWriteReq(std::string data);
    void sendAdaptationStart();
    void sendAdaptationStatus();
    void sendCandumpStart();
    void sendCandumpStop();
    void sendCanSetupBaudrate(int bus, int baudrate, bool optionFlag, int optionValue);
    void sendCanSetupTermination(int bus, bool enabled);
    void sendCanSendMessage(int bus, unsigned int id, std::string data, bool extended, bool fd);
    void sendFaultGetFaultCountReq();
    void sendFaultGetFaultsReq();
    void sendFaultCleanFaultsReq();
    void sendScopeDataRequest(int value);

private:
    // Sends the command with this member, such as &xcu::Command::mutable_ping; fill, if there is
    // one, sets its fields.
    template <typename Member, typename... Fill>
    void send(Member member, const Fill&... fill);

    ComPort& comPort;
    std::mutex mutex; // never locked: ComPort keeps frames apart
};
