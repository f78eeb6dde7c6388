// PLACEHOLDER: being written; replaced as a whole by its family implementation.
#include "RS232Handler.h"

void RS232Handler::fh_cmd_videocounter(RS232Message&) {}
void RS232Handler::fh_get_videocounter(RS232Message&) {}
void RS232Handler::fh_set_videocounter(RS232Message&) {}
