# Recording the session: the state, a second recording refused while one
# runs, stopping, and what is refused before anything is recorded.
record
record /dev/null
record
record /dev/null
record off
record off
record no-such-directory/session.rec
record .
record /dev/null extra
record
