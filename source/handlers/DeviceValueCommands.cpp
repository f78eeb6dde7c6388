// PLACEHOLDER: being written; replaced as a whole by its family implementation.
#include "RS232Handler.h"

void RS232Handler::fh_get_device_data(RS232Message&) {}
void RS232Handler::fh_get_device_value(RS232Message&) {}
void RS232Handler::fh_get_adconverter(RS232Message&) {}
