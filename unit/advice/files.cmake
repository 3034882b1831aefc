# The band of constant speeds that reaches the stop line on green.
v2xshm_unit_area(advice SpeedAdvice)
