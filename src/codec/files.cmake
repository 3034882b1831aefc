v2xshm_subsystem(codec SerializeTool)
