// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What a controller answers, an interface for each family of responses. CommandsResponseReceiver
// calls them.

#include <cstdint>
#include <string>
#include <vector>

// Answers of the bootloader service.
class IBootloaderCommandsResponse
{
public:
    // The service is ready for key material. No response of the link reaches it.
    virtual void bootloaderReady() = 0;
    virtual void bootloaderValue(unsigned int value) = 0;
    virtual void pongReceived(unsigned int value) = 0;
    virtual void promptReceived() = 0;

protected:
    ~IBootloaderCommandsResponse() = default;
};

// Answers of the data logger.
class IDataLoggerCommandsResponse
{
public:
    virtual ~IDataLoggerCommandsResponse() = default;
    virtual void loggerStarted() = 0;
    // One record: running number, controller time in ms, and one raw value per requested channel,
    // in the order of the request.
    virtual void loggerDataReceived(
        unsigned int sampleNumber, unsigned int timestamp, std::vector<int>&& values) = 0;
    virtual void loggerStopped() = 0;
};

// Answers of the configuration store.
class IConfigCommandsResponse
{
public:
    virtual ~IConfigCommandsResponse() = default;
    virtual void writeConfiguration(unsigned int result, unsigned int configId) = 0;
    // data is the whole block, length prefix included, and valid during the call only.
    virtual void readConfiguration(
        unsigned int result, unsigned int configId, const std::string& data) = 0;
    virtual void eraseConfiguration(unsigned int result, unsigned int configId) = 0;
    virtual void writeCalibration(unsigned int result, unsigned int configId) = 0;
};

// Answers of the PID tuner.
class IPidTunerCommandsResponse
{
public:
    virtual ~IPidTunerCommandsResponse() = default;
    virtual void pidTunerStart(unsigned int value) = 0;
    virtual void pidTunerSetPid(unsigned int value) = 0;
    virtual void pidTunerGetPid(
        unsigned int pidId, int param1, int param2, int param3, int param4, int param5) = 0;
    virtual void pidTunerReset(unsigned int value) = 0;
};

// Answers of the map tuner.
class IMapTuningCommandsResponse
{
public:
    enum class MapAxis { X = 0, Y = 1 };
    // The values as they come from the controller; nothing on the PC gives them a meaning.
    enum class MapCommandResult { Result0 = 0, Result1 = 1, Result2 = 2, Result3 = 3 };

    virtual void mapTuningStart(unsigned int mapCount) = 0;
    // xSize columns and ySize rows of values, without the label row and column.
    virtual void mapTuningMapDetails(
        unsigned int mapId, unsigned int xSize, unsigned int ySize) = 0;
    virtual void mapTuningGetMapLabel(
        unsigned int mapId, MapAxis axis, unsigned int labelId, int value,
        MapCommandResult result) = 0;
    virtual void mapTuningSetMapLabel(
        unsigned int mapId, MapAxis axis, unsigned int labelId, MapCommandResult result) = 0;
    virtual void mapTuningGetMapValue(
        unsigned int mapId, unsigned int xId, unsigned int yId, int value,
        MapCommandResult result) = 0;
    virtual void mapTuningSetMapValue(
        unsigned int mapId, unsigned int xId, unsigned int yId, MapCommandResult result) = 0;
    // The whole map; in values the X index runs fastest.
    virtual void mapTuningMap(
        unsigned int mapId, std::vector<int>&& xLabels, std::vector<int>&& yLabels,
        std::vector<int>&& values) = 0;
    virtual void mapTuningGetLastGetValue(unsigned int mapId, int xId, int yId, int value) = 0;

protected:
    ~IMapTuningCommandsResponse() = default;
};

// Answers of the adaptation run.
class IControlerAdaptationResponse
{
public:
    enum class AdaptationStatus { Idle = 0, Busy = 1 };

    virtual void adaptationStart() = 0;
    virtual void adaptationStatus(AdaptationStatus status) = 0;
    virtual ~IControlerAdaptationResponse() = default;
};

// The capture of the controller's CAN buses.
class ICandumpResponse
{
public:
    virtual void candumpStart() = 0;
    virtual void candumpStop() = 0;
    // One frame. timestampMs is controller time; canId carries no flag bits; frameData holds the
    // raw payload bytes and is valid during the call only.
    virtual void candump(
        int busNumber, int timestampMs, int canId, bool isExtended, bool isFd, bool isBitrateSwitch,
        const std::string& frameData) = 0;

protected:
    ~ICandumpResponse() = default;
};

// One entry of the controller's fault list. The component stands before the fault number here and
// behind it on the wire.
struct FaultItemData
{
    std::uint8_t type;         // 1 is a warning, any other value a fault
    std::uint8_t mode;         // 1 intermittent, 2 continuous, 3 run fault, 4 inactive
    std::uint16_t category;    // first key of the fault dictionary
    std::uint16_t componentId; // the component that reported the fault
    std::uint16_t faultId;     // number within the category, second key of the dictionary
};

// Answers of the fault service.
class IFaultServiceCommandsResponse
{
public:
    virtual ~IFaultServiceCommandsResponse() = default;
    virtual void faultGetFaultCountResp(int first, int second) = 0;
    virtual void faultGetFaultsResp(std::vector<FaultItemData>&& items) = 0;
    virtual void faultCleanFaultsResp() = 0;
};

// Answers of the scope.
class IScopeCommandsResponse
{
public:
    virtual ~IScopeCommandsResponse() = default;
    virtual void scopeDataReceived(
        int firstValue, int secondValue, int thirdValue, std::vector<int>&& samples) = 0;
};
