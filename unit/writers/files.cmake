# Map, light-list and RSI-list messages in the form the decoders read.
v2xshm_unit_area(writers LMMessageWriter)
