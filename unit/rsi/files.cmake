# Road-side information on the located link, published as RSI results.
v2xshm_unit_area(rsi ApproachRSI)
