// SPDX-License-Identifier: BSD-2-Clause
#ifndef VIDEOCOUNTERCOMMANDS_H
#define VIDEOCOUNTERCOMMANDS_H

class BusCommand;
class CQuorendVideoOverlayInterface;

// The video counter the overlay draws; always asked for on demand.
class VideoCounterCommands
{
public:
    VideoCounterCommands(CQuorendVideoOverlayInterface& overlay, BusCommand& bus)
        : overlay(overlay)
        , bus(bus)
    {
    }

    CQuorendVideoOverlayInterface& overlay;
    BusCommand& bus;
};

#endif
