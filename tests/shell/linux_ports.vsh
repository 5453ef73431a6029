# Ports on Linux interfaces, without making any: what is refused, and serve
# on a card with nothing attached.
attach
attach 1/1/99 tap vt1
attach 0/1/1 dev lo
attach 1/1/1 tap a-name-too-long-1
attach 1/1/1 tap vt1 netns no-such-namespace
attach 1/1/1 tap vt1 netns ../x
attach 1/1/1 dev no-such-dev0
attach 1/1/1 tap
detach 1/1/1
serve 0.05
serve -1
serve soon
attach
