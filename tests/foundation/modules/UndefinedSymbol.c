// Calls a function that no library defines; binding at load time fails.
int BrassfoldTestNowhere(void);
int BrassfoldTestModuleAnswer(void);

int BrassfoldTestModuleAnswer(void)
{
    return BrassfoldTestNowhere();
}
