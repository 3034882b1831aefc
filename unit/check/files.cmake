# The consistency check of every list, for a supervisor and the tool.
v2xshm_unit_area(check ListCheck ListOwner)
