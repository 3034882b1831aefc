# The targets an advising process builds each cycle from the participants.
v2xshm_unit_area(targets TargetBuild)
