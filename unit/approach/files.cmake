# The signal state of the located link's movements, published as phase results.
v2xshm_unit_area(approach ApproachSignal)
