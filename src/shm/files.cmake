v2xshm_subsystem(shm SHMTool IFSHM IFRefreshable TimeTool TimeBase CountedList ConfigInfo DevConfigMng)
