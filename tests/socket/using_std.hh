// The real event-loop headers bring the standard library into the global
// scope; the socket unit is compiled once more with that in force.
#include <functional>
#include <string>
using namespace std;
