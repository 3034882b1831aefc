v2xshm_subsystem(space IFPosition SpaceTool SpaceToolGeo)
