// SPDX-License-Identifier: BSD-2-Clause
#ifndef LOCALECODECS_H
#define LOCALECODECS_H

#include <QLocale>

// The character set of texts on the line under the locale codec (selector 0),
// chosen by the country of the controller's locale. Slovakia takes
// ISO-8859-2 while its neighbours take ISO-8859-16: the PC application
// expects exactly that.
struct CountryCodec {
    QLocale::Country country;
    const char* country_name; // as the protocol reference names it
    const char* codec;        // looked up by name: some codecs are not found by number first
};
const int COUNTRY_CODEC_COUNT = 16;
extern const CountryCodec COUNTRY_CODECS[COUNTRY_CODEC_COUNT];
// Every other country.
extern const char* const DEFAULT_LOCALE_CODEC;

const char* locale_codec_name(QLocale::Country country);

#endif
