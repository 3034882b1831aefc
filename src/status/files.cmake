v2xshm_subsystem(status)
