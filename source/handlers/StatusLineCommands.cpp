// PLACEHOLDER: being written; replaced as a whole by its family implementation.
#include "RS232Handler.h"

void RS232Handler::fh_get_statusline(RS232Message&) {}
void RS232Handler::fh_set_statusline(RS232Message&) {}
void RS232Handler::fh_get_statusline_state(RS232Message&) {}
void RS232Handler::fh_set_statusline_color(RS232Message&) {}
void RS232Handler::fh_sta_visibility(RS232Message&) {}
void RS232Handler::fh_sta_bgcolor(RS232Message&) {}
