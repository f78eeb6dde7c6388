// SPDX-License-Identifier: BSD-2-Clause
#ifndef UNITTEXTCOMMANDS_H
#define UNITTEXTCOMMANDS_H

class BusCommand;
class CQuorendVideoOverlayInterface;
class FixedTexts;

// The sixteen unit texts, fixed overlay texts next to the values the PC reads.
class UnitTextCommands
{
public:
    UnitTextCommands(CQuorendVideoOverlayInterface& overlay, FixedTexts& fixedTexts, BusCommand& bus)
        : overlay(overlay)
        , fixedTexts(fixedTexts)
        , bus(bus)
    {
    }

    CQuorendVideoOverlayInterface& overlay;
    FixedTexts& fixedTexts;
    BusCommand& bus;
};

#endif
