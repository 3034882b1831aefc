# A receiving process's step for each new fix: check it, store it, trace it.
v2xshm_unit_area(fix FixPush)
