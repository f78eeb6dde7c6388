// PLACEHOLDER: being written; replaced as a whole by its family implementation.
#include "RS232Handler.h"

void RS232Handler::fh_get_unit_state(RS232Message&) {}
void RS232Handler::fh_set_unit_position(RS232Message&) {}
void RS232Handler::fh_set_device_color(RS232Message&) {}
