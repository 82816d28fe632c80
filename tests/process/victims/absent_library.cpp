/// A library that a component is linked with and does not find.
int AbsentLibrary() { return 1; }
