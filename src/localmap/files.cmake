v2xshm_subsystem(localmap)
