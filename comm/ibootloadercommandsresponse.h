// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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
