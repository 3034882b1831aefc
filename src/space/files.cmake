v2xshm_subsystem(space IFPosition SpaceTool SpaceToolGeo GNSS DevGNSSMng VehTrace VehTraceMng)
