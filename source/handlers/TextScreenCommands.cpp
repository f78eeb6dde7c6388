// PLACEHOLDER: being written; replaced as a whole by its family implementation.
#include "RS232Handler.h"

void RS232Handler::fh_clear_screen(RS232Message&) {}
void RS232Handler::fh_set_cursor(RS232Message&) {}
void RS232Handler::fh_set_line_color(RS232Message&) {}
void RS232Handler::fh_get_line(RS232Message&) {}
void RS232Handler::fh_set_line(RS232Message&) {}
void RS232Handler::fh_set_text(RS232Message&) {}
void RS232Handler::fh_start_temp_text(RS232Message&) {}
void RS232Handler::fh_overlay_visibility(RS232Message&) {}
void RS232Handler::fh_sys_visibility(RS232Message&) {}
void RS232Handler::add_char_to_line(char) {}
