// SPDX-License-Identifier: BSD-2-Clause
#ifndef STATUSLINECOMMANDS_H
#define STATUSLINECOMMANDS_H

class BusCommand;
class CQuorendVideoOverlayInterface;
class FixedTexts;
class LineLocale;

// The four status line items, fixed overlay texts addressed by an item byte.
class StatusLineCommands
{
public:
    StatusLineCommands(CQuorendVideoOverlayInterface& overlay, FixedTexts& fixedTexts, const LineLocale& lineLocale,
                       BusCommand& bus)
        : overlay(overlay)
        , fixedTexts(fixedTexts)
        , lineLocale(lineLocale)
        , bus(bus)
    {
    }

    CQuorendVideoOverlayInterface& overlay;
    FixedTexts& fixedTexts;
    const LineLocale& lineLocale;
    BusCommand& bus;
};

#endif
