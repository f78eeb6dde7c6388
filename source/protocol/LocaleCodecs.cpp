// SPDX-License-Identifier: BSD-2-Clause
#include "LocaleCodecs.h"

const CountryCodec COUNTRY_CODECS[COUNTRY_CODEC_COUNT] = {
    { QLocale::Belarus, "Belarus", "ISO-8859-5" },       { QLocale::Bulgaria, "Bulgaria", "ISO-8859-5" },
    { QLocale::Kazakhstan, "Kazakhstan", "ISO-8859-5" }, { QLocale::Kyrgyzstan, "Kyrgyzstan", "ISO-8859-5" },
    { QLocale::Mongolia, "Mongolia", "ISO-8859-5" },     { QLocale::RussianFederation, "Russia", "ISO-8859-5" },
    { QLocale::Tajikistan, "Tajikistan", "ISO-8859-5" }, { QLocale::Ukraine, "Ukraine", "ISO-8859-5" },
    { QLocale::Albania, "Albania", "ISO-8859-16" },      { QLocale::Croatia, "Croatia", "ISO-8859-16" },
    { QLocale::Hungary, "Hungary", "ISO-8859-16" },      { QLocale::Poland, "Poland", "ISO-8859-16" },
    { QLocale::Romania, "Romania", "ISO-8859-16" },      { QLocale::Slovenia, "Slovenia", "ISO-8859-16" },
    { QLocale::Serbia, "Serbia", "ISO-8859-16" },        { QLocale::Slovakia, "Slovakia", "ISO-8859-2" },
};

const char* const DEFAULT_LOCALE_CODEC = "ISO-8859-15";

const char* locale_codec_name(QLocale::Country country)
{
    for (const CountryCodec& row : COUNTRY_CODECS) {
        if (row.country == country)
            return row.codec;
    }
    return DEFAULT_LOCALE_CODEC;
}
