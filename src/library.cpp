// The one place that knows every service: what attach installs and what detach releases.
#include <windows.h>
