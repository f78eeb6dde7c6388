// PLACEHOLDER: being written; replaced as a whole by its family implementation.
#include "RS232Handler.h"

void RS232Handler::fh_cmd_3d_measurement(RS232Message&) {}
void RS232Handler::fh_get_3d_measurement_data(RS232Message&) {}
void RS232Handler::fh_set_3d_measurement_start_position(RS232Message&) {}
void RS232Handler::fh_set_3d_measurement_start_orientation(RS232Message&) {}
void RS232Handler::fh_set_inclination_direction(RS232Message&) {}
void RS232Handler::fh_set_inclination_status(RS232Message&) {}
void RS232Handler::fh_init_inclination(RS232Message&) {}
void RS232Handler::fh_set_inclination_distance(RS232Message&) {}
