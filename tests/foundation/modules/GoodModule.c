// A module that loads: its export answers 42.
int BrassfoldTestModuleAnswer(void);

int BrassfoldTestModuleAnswer(void)
{
    return 42;
}
