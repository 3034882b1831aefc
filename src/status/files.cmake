v2xshm_subsystem(status VehStatus VehStatusMng)
