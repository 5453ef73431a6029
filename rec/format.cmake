# (filled in)
