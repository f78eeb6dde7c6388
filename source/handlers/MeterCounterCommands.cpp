// PLACEHOLDER: being written; replaced as a whole by its family implementation.
#include "RS232Handler.h"

void RS232Handler::fh_get_metercounter_1(RS232Message&) {}
void RS232Handler::fh_get_metercounter_2(RS232Message&) {}
void RS232Handler::fh_get_metercounter_3(RS232Message&) {}
void RS232Handler::fh_set_metercounter_1(RS232Message&) {}
void RS232Handler::fh_set_metercounter_2(RS232Message&) {}
void RS232Handler::fh_set_metercounter_3(RS232Message&) {}
void RS232Handler::fh_get_metercounter_wheel_length(RS232Message&) {}
void RS232Handler::fh_get_metercounter_resolution(RS232Message&) {}
