# Several commands on a line, separated by ';', run in order; the first
# error stops the rest of the line.  'try' covers only the command it
# precedes, and a ';' in a comment separates nothing.
vlan create 30 ; vlan add 30 - 1/1/5 ; show vlan 30
try lag_id_to_lag_usp 7 ; echo the refusal was tried
echo refused next ; lag_id_to_lag_usp 7 ; echo not reached after a refusal
try echo tried ; lag_id_to_lag_usp 7 ; echo not reached either
echo bad input next ; vlan create 40 41 ; vlan create 42 ; echo not reached after bad input
show vlan
;; echo empty commands are nothing ; ;
echo one # ; echo commented out
vlan create 50;vlan delete 50;echo no spaces needed
