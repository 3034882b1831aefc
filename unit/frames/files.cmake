# Accounting for every byte of a framed stream: frames and why the rest is not.
v2xshm_unit_area(frames FrameWalk)
